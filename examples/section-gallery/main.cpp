#include "GalleryShots.h"
#include "GalleryWindow.h"

#include <QApplication>
#include <QStringList>

#include <cstdio>

namespace {

int report(bool ok, const QString& error)
{
    if (!ok)
        std::fprintf(stderr, "section-gallery: %s\n", qPrintable(error));
    return ok ? 0 : 1;
}

} // namespace

/// section-gallery               shows the gallery
/// section-gallery --shots DIR   writes its pictures, in both skins, at one and two times the resolution
int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments().mid(1);
    if (arguments.isEmpty()) {
        Gallery::GalleryWindow window;
        window.show();
        return QApplication::exec();
    }
    QString error;
    if (arguments.size() == 2 && arguments.at(0) == QLatin1String("--shots"))
        return report(Gallery::writeShotsAtAllResolutions(arguments.at(1), error), error);
    if (arguments.size() == 2 && arguments.at(0) == QLatin1String("--shots-once"))
        return report(Gallery::writeShots(arguments.at(1), error), error);
    std::fprintf(stderr, "usage: section-gallery [--shots DIR]\n");
    return 2;
}
