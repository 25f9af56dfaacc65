#pragma once

#include <QList>
#include <QString>

class QWidget;

/// The pages of the gallery. Everything the module builds from sections is on one of them.
namespace Gallery {

struct Page
{
    /// Part of the names of its pictures.
    const char* name;
    /// Shown on its tab.
    const char* title;
    /// Builds the page in the current skin; the caller owns it.
    QWidget* (*make)();
};

/// All pages in order. A new kind of section gets its page here.
QList<Page> pages();

} // namespace Gallery
