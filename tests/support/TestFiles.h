#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <string>

/// Files that tests write and look at.
namespace TestFiles {

/// Writes a file anew; a failure fails the test.
void write(const QString& path, const QByteArray& content);
/// What a file holds; "(missing)" when it cannot be read.
QByteArray content(const QString& path);
QByteArray content(const std::string& path);
/// The names of a folder's files, hidden ones too, sorted.
QStringList names(const QString& folder);

/// A folder that holds a clip without a byte, as long as its object lives.
class FilledFolder
{
public:
    FilledFolder() { write(m_folder.filePath(QStringLiteral("clip.mov")), {}); }

    QString path() const { return m_folder.path(); }

private:
    QTemporaryDir m_folder;
};

} // namespace TestFiles
