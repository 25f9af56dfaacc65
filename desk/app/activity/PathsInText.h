#pragma once

#include <QSet>
#include <QString>

#include <functional>

/// Finds paths in sentences, which put no marks around them: a path may hold blanks and dots as well.
namespace pathsintext {

/// Whether a path is one of those that are looked for.
using IsKnown = std::function<bool(const QString& path)>;

/// The longest known path that \a text names; of several that begin at different places the first. Empty
/// without one.
QString pathIn(const QString& text, const IsKnown& isKnown);
/// The same for folders, also where only the beginning of a longer path names one.
QString folderIn(const QString& text, const QSet<QString>& folders);
/// The innermost of \a folders in which \a path lies.
QString folderOf(const QString& path, const QSet<QString>& folders);
/// The name of the file of which \a text speaks, as far as the words around it tell; empty for other texts.
/// \param folder the path of the folder that it names, or none.
QString fileIn(const QString& text, const QString& folder);

} // namespace pathsintext
