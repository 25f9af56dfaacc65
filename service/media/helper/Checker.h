#pragma once

namespace krxmedia::checker {

/// Reads one file, which is asked for as a feed does, from end to end, and decodes the first stream of
/// pictures in its beginning, its middle and its end. The report has one line for each stream, in their
/// order:
///
///     video|audio|other PACKETS SECONDS
///
/// and behind them "decoded 3", or what went wrong. \return an exit code.
int check();

} // namespace krxmedia::checker
