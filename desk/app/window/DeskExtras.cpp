#include "DeskExtras.h"

#include "DeskVersion.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLibrary>

namespace {

const QLatin1String kFileName("krx-desk-extras.so");
/// Relative to the program's folder: where it is built, and where it is installed.
const QLatin1String kPlaces[] = {QLatin1String("."), QLatin1String("../lib"), QLatin1String(KRX_EXTRAS_WAY)};

QString tr(const char* text)
{
    return QCoreApplication::translate("DeskExtras", text);
}

} // namespace

QStringList DeskExtras::places()
{
    const QDir program(QCoreApplication::applicationDirPath());
    QStringList places;
    for (const QLatin1String place : kPlaces)
        places << QDir::cleanPath(program.filePath(place));
    return places;
}

QString DeskExtras::find(const QStringList& places)
{
    for (const QString& place : places) {
        const QString file = QDir(place).filePath(kFileName);
        if (QFileInfo::exists(file))
            return file;
    }
    return QString();
}

DeskExtras* DeskExtras::load(const QStringList& places, QString& error)
{
    const QString file = find(places);
    if (file.isEmpty()) {
        error = notInstalled();
        return nullptr;
    }
    // It stays loaded, as what it made is used until the end of the process.
    QLibrary library(file);
    library.setLoadHints(QLibrary::ResolveAllSymbolsHint);
    const auto entry = reinterpret_cast<Entry>(library.resolve(kEntryName));
    if (!entry) {
        error = tr("The demo and the guided tour cannot be loaded: %1").arg(library.errorString());
        return nullptr;
    }
    DeskExtras* extras = entry(KRX_DESK_VERSION);
    if (!extras)
        error = tr("%1 belongs to another version of KRX Desk.").arg(file);
    return extras;
}

QString DeskExtras::notInstalled()
{
    return tr("The demo and the guided tour are not installed (%1 is missing).").arg(kFileName);
}
