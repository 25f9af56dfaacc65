#include "HostQtShell.h"
#include "StandInRecords.h"

#include <QGuiApplication>
#include <QHash>
#include <QImage>
#include <QPainter>
#include <QtMath>

namespace {

constexpr int kOpaque = 255;
constexpr int kDisabledAlpha = 125;
constexpr int kMaxScale = 3;

/// "icons/Arrows/" and "open_arrow.png" to the resource without ".png".
QString resourceStem(const QString& iconId, const QString& group)
{
    QString folder = group;
    while (folder.endsWith(QLatin1Char('/')))
        folder.chop(1);
    QString name = iconId;
    if (name.endsWith(QLatin1String(".png"), Qt::CaseInsensitive))
        name.chop(4);
    return QStringLiteral(":/stand-in/%1/%2").arg(folder, name);
}

QString fileAtScale(const QString& stem, int scale)
{
    return scale == 1 ? QString(stem + QLatin1String(".png"))
                      : QStringLiteral("%1@%2x.png").arg(stem, QString::number(scale));
}

/// The picture for a resolution: the next finer one there is, else the finest. Null when there is none.
QImage imageAt(const QString& stem, qreal ratio)
{
    if (StandInHost::isBare())
        return QImage();
    // Rows are painted far more often than there are icons.
    static QHash<QString, QImage> loaded;
    for (int scale = qBound(1, qCeil(ratio), kMaxScale); scale >= 1; --scale) {
        const QString file = fileAtScale(stem, scale);
        auto known = loaded.find(file);
        if (known == loaded.end()) {
            QImage image(file);
            image.setDevicePixelRatio(scale);
            known = loaded.insert(file, image);
        }
        if (!known->isNull())
            return *known;
    }
    return QImage();
}

/// Whether a pixel is of the ink that a tint replaces; edges are the same ink with less alpha, where rounding
/// blurs the colour the more the fainter they are.
bool isInk(QRgb pixel, const QColor& ink)
{
    const int tolerance = 12 + (kOpaque - qAlpha(pixel)) / 4;
    return qAbs(qRed(pixel) - ink.red()) <= tolerance && qAbs(qGreen(pixel) - ink.green()) <= tolerance &&
           qAbs(qBlue(pixel) - ink.blue()) <= tolerance;
}

QImage tinted(const QImage& source, const HostQtShell::IconTintColors& colors)
{
    if (!colors.from.isValid() || !colors.to.isValid() || colors.from.rgb() == colors.to.rgb())
        return source;
    QImage image = source.convertToFormat(QImage::Format_ARGB32);
    const QRgb replacement = colors.to.rgb() & RGB_MASK;
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(line[x]) > 0 && isInk(line[x], colors.from))
                line[x] = (line[x] & ~RGB_MASK) | replacement;
        }
    }
    return image;
}

/// Nearer to the background's opposite: darker in light skins, lighter in dark ones.
QImage pressed(const QImage& source)
{
    constexpr int share = 70;
    const int target = HostQtShell::currentSkinIndex() < HostQtShell::kFirstDarkSkin ? 0 : 255;
    const auto blend = [target](int channel) { return (channel * share + target * (100 - share)) / 100; };
    QImage image = source.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = line[x];
            line[x] = qRgba(blend(qRed(pixel)), blend(qGreen(pixel)), blend(qBlue(pixel)), qAlpha(pixel));
        }
    }
    return image;
}

/// How large an image is drawn into \a rect, in the painter's units.
QSizeF fittedSize(const QRect& rect, const QImage& image)
{
    return QSizeF(image.size()).scaled(rect.size(), Qt::KeepAspectRatio);
}

/// Draws into \a rect as large as it fits, its aspect kept, centred.
void drawFitted(QPainter* painter, const QRect& rect, const QImage& image, int alpha)
{
    if (image.isNull() || rect.isEmpty())
        return;
    const QSizeF size = fittedSize(rect, image);
    const QRectF target(rect.x() + (rect.width() - size.width()) / 2,
                        rect.y() + (rect.height() - size.height()) / 2, size.width(), size.height());
    painter->save();
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->setOpacity(painter->opacity() * qBound(0, alpha, kOpaque) / kOpaque);
    painter->drawImage(target, image, image.rect());
    painter->restore();
}

} // namespace

namespace HostQtShell {

int disabledAlpha(bool isDisabled)
{
    return isDisabled ? kDisabledAlpha : kOpaque;
}

void drawSkinnedIcon(QPainter* painter, const QRect& rect, const QString& iconId, const QString& group,
                     const IconTintColors& colors, int alpha, IconVariant variant)
{
    const QString stem = resourceStem(iconId, group);
    const QImage plain = imageAt(stem, 1);
    if (plain.isNull() || rect.isEmpty())
        return;
    // A picture that is drawn larger than it is needs the finer one also on a coarse screen.
    const qreal zoom = fittedSize(rect, plain).width() / plain.width();
    QImage image = tinted(imageAt(stem, painter->device()->devicePixelRatioF() * zoom), colors);
    if (variant == IconVariant::Pressed)
        image = pressed(image);
    drawFitted(painter, rect, image, alpha);
}

void drawSkinnedImage(QPainter* painter, const QRect& rect, const QPixmap& image,
                      const IconTintColors& colors, int alpha)
{
    drawFitted(painter, rect, tinted(image.toImage(), colors), alpha);
}

QIcon skinnedIcon(const QString& iconId, const QString& group)
{
    const QString stem = resourceStem(iconId, group);
    QIcon icon;
    for (int scale = 1; scale <= kMaxScale; ++scale) {
        const QImage image = imageAt(stem, scale);
        if (!image.isNull())
            icon.addPixmap(QPixmap::fromImage(image));
    }
    return icon;
}

QPixmap skinnedPixmap(const QString& iconId, const QString& group)
{
    return QPixmap::fromImage(
        imageAt(resourceStem(iconId, group), qGuiApp ? qGuiApp->devicePixelRatio() : 1.0));
}

} // namespace HostQtShell
