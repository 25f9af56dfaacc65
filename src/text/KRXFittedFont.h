#pragma once

#include <QFont>

#include <functional>

namespace KRXText {

/// The font in which something takes no more than \a room pixels: \a font itself where that does, else one
/// that is smaller and then narrower by as little as it takes. What does not fit in the smallest legible font
/// is cut off. \param widthIn the width in pixels that it takes in a given font.
QFont fittedFont(const QFont& font, int room, const std::function<int(const QFont&)>& widthIn);

} // namespace KRXText
