#include "GalleryShots.h"

#include "GalleryPages.h"
#include "StandInHost.h"

#include <QApplication>
#include <QDir>
#include <QFont>
#include <QImage>
#include <QPixmap>
#include <QProcess>
#include <QProcessEnvironment>
#include <QWidget>

#include <memory>

namespace Gallery {

namespace {

struct Skin
{
    const char* name;
    int index;
};

constexpr Skin kSkins[] = {{"light", StandInHost::kLightSkin}, {"dark", StandInHost::kDarkSkin}};
constexpr int kPointSize = 9;
constexpr int kResolutions[] = {1, 2};

/// Layouts ask for events of their own until everything has its size.
void settle(QWidget& page)
{
    QSize before;
    do {
        before = page.size();
        QApplication::processEvents();
        page.resize(page.sizeHint());
    } while (page.size() != before);
}

} // namespace

bool writeShots(const QString& directory, QString& error)
{
    // The size that desktops use, which the off-screen platform does not know.
    QFont font = QApplication::font();
    font.setPointSize(kPointSize);
    QApplication::setFont(font);
    for (const Skin& skin : kSkins) {
        StandInHost::setSkin(skin.index);
        for (const Page& page : pages()) {
            const std::unique_ptr<QWidget> widget(page.make());
            widget->show();
            settle(*widget);
            const QPixmap picture = widget->grab();
            const int resolution = qRound(picture.devicePixelRatioF());
            const QString suffix = resolution == 1 ? QString() : QStringLiteral("@%1x").arg(resolution);
            const QString path = QDir(directory).filePath(
                QStringLiteral("gallery-%1-%2%3.png")
                    .arg(QLatin1String(page.name), QLatin1String(skin.name), suffix));
            constexpr int smallest = 0; // the quality that stands for the most compression in PNG
            if (!picture.toImage().convertToFormat(QImage::Format_RGB32).save(path, "PNG", smallest)) {
                error = QStringLiteral("could not write %1").arg(path);
                return false;
            }
        }
    }
    return true;
}

bool writeShotsAtAllResolutions(const QString& directory, QString& error)
{
    if (!QDir().mkpath(directory)) {
        error = QStringLiteral("could not make the directory %1").arg(directory);
        return false;
    }
    for (const int resolution : kResolutions) {
        QProcess run;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_SCALE_FACTOR"), QString::number(resolution));
        run.setProcessEnvironment(environment);
        run.setProcessChannelMode(QProcess::ForwardedChannels);
        run.start(QApplication::applicationFilePath(), {QStringLiteral("--shots-once"), directory});
        if (!run.waitForFinished(-1) || run.exitStatus() != QProcess::NormalExit || run.exitCode() != 0) {
            error = QStringLiteral("the run at resolution %1 failed").arg(resolution);
            return false;
        }
    }
    return true;
}

} // namespace Gallery
