#include "TestFiles.h"

#include <QDir>
#include <QFile>
#include <QTest>

namespace TestFiles {

void write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    QVERIFY2(file.open(QIODevice::WriteOnly), qUtf8Printable(path));
    QCOMPARE(file.write(content), qint64(content.size()));
}

QByteArray content(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
}

QByteArray content(const std::string& path)
{
    return content(QString::fromStdString(path));
}

QStringList names(const QString& folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

} // namespace TestFiles
