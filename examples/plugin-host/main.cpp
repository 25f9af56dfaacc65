// Loads a panel at run time: plugin-host PLUGIN [--take]. With --take it takes the first clip by itself and
// ends.
#include "MinimalHost.h"
#include "PanelPlugin.h"

#include <HostDefaults.h>

#include <QApplication>
#include <QFile>
#include <QLibrary>
#include <QTimer>
#include <QXmlStreamReader>

#include <cstdio>
#include <memory>

namespace {

constexpr int kLookInterval = 500; // milliseconds

/// The media file that an output document names; empty when it is not a whole document that names one.
QString mediaFile(QIODevice* document)
{
    QXmlStreamReader reader(document);
    QStringList path;
    QString media;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement())
            path.append(reader.name().toString());
        else if (reader.isEndElement())
            path.removeLast();
        else if (reader.isCharacters() && path == QStringList{"xel", "clip", "path"})
            media.append(reader.text().toString());
    }
    return reader.hasError() ? QString() : media;
}

/// One clip: its document names the media file. Record the clip, then remove the document.
void takeClip(const QString& file)
{
    QFile output(file);
    const QString media = output.open(QIODevice::ReadOnly) ? mediaFile(&output) : QString();
    if (media.isEmpty()) {
        std::fprintf(stderr, "plugin-host: %s names no media file; it stays there\n", qPrintable(file));
    } else {
        std::printf("clip %s\ntook %s\n", qPrintable(media), qPrintable(file));
        std::fflush(stdout);
        output.remove();
    }
    QCoreApplication::quit();
}

int fail(const QString& why)
{
    std::fprintf(stderr, "plugin-host: %s\n", qPrintable(why));
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() < 2)
        return fail(QStringLiteral("usage: plugin-host PLUGIN [--take]"));
    // Everything is resolved now, so that nothing can be missing later.
    QLibrary library(arguments.value(1));
    library.setLoadHints(QLibrary::ResolveAllSymbolsHint);
    if (!library.load())
        return fail(library.errorString());
    const auto entry = reinterpret_cast<PanelPluginEntry>(library.resolve("krxPanelPlugin"));
    if (!entry)
        return fail(arguments[1] + QStringLiteral(" is no plug-in: it lacks the function krxPanelPlugin"));
    HostOperations host = HostDefaults::operations();
    host.getComponentFactory = &restClientFactory;
    QString why;
    const PanelPlugin* plugin = entry(&host, &why);
    if (!plugin)
        return fail(why.isEmpty() ? QStringLiteral("the plug-in is not for this host, as it says above")
                                  : why);
    {
        const std::unique_ptr<QWidget> panel(plugin->makePanel(&takeClip));
        const bool take = arguments.contains(QStringLiteral("--take"));
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, panel.get(), [&] { plugin->look(panel.get(), take); });
        timer.start(kLookInterval);
        panel->show();
        QApplication::exec();
    }
    plugin->cleanUp();
    return 0;
}
