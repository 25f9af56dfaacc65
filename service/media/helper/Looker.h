#pragma once

#include <string>

namespace krxmedia {

/// Finds out what an open file is and writes it as XML:
///
///     <media verdict="media|nothing|later" text="why it is not media">
///       <format format_name="" probe_score="" duration="" timecode=""/>
///       <streams><stream index="" codec_type="" codec_name="" .../></streams>
///     </media>
///
/// \a file is only read, at positions of its own. \a name is a hint: some formats are told by their extension
/// only. Nothing else is opened, whatever the file asks for.
std::string look(int file, const std::string& name);

} // namespace krxmedia
