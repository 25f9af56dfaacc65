#include "HostQtShell.h"
#include "StandInHost.h"

#include "KRXTest.h"

#include <QApplication>
#include <QCheckBox>
#include <QImage>
#include <QPainter>
#include <QPalette>
#include <QStyle>

#include <cmath>
#include <functional>

using namespace HostQtShell;

namespace {

constexpr int kSkins[] = {StandInHost::kLightSkin, StandInHost::kDarkSkin};

QString group(const char* name)
{
    return QString::fromLatin1(name);
}

/// Relative luminance as accessibility guidelines define it.
double luminance(const QColor& color)
{
    const auto linear = [](double channel) {
        return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor& a, const QColor& b)
{
    const double first = luminance(a) + 0.05;
    const double second = luminance(b) + 0.05;
    return first > second ? first / second : second / first;
}

QImage drawn(const QSize& size, qreal ratio, const std::function<void(QPainter*, const QRect&)>& draw)
{
    QImage image(size * ratio, QImage::Format_ARGB32);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    draw(&painter, QRect(QPoint(0, 0), size));
    painter.end();
    return image;
}

/// The part of an image that something was drawn to.
QRect inkedRect(const QImage& image)
{
    QRect inked;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 0)
                inked |= QRect(x, y, 1, 1);
        }
    }
    return inked;
}

int strongestAlpha(const QImage& image)
{
    int alpha = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            alpha = qMax(alpha, qAlpha(image.pixel(x, y)));
    }
    return alpha;
}

} // namespace

class TestHostSkins : public QObject
{
    Q_OBJECT

private slots:
    void cleanup()
    {
        StandInHost::setHighlightColor(QColor());
        StandInHost::setSkin(StandInHost::kLightSkin);
    }

    void theSkinIndexTellsLightFromDark()
    {
        StandInHost::setSkin(StandInHost::kLightSkin);
        QCOMPARE(currentSkinIndex(), 0);
        StandInHost::setSkin(StandInHost::kDarkSkin);
        QCOMPARE(currentSkinIndex(), 4);
        QVERIFY(currentSkinIndex() >= kFirstDarkSkin);
        StandInHost::setSkin(3);
        QCOMPARE(currentSkinIndex(), 3);
        StandInHost::setSkin(-1);
        QCOMPARE(currentSkinIndex(), 0);
    }

    void everyNameTheModuleAsksForIsAnOpaqueColorInBothSkins_data()
    {
        QTest::addColumn<QString>("name");
        for (const char* name : {"BackgroundOddRowActiveColor", "BackgroundEvenRowActiveColor",
                                 "MenuSelectionColor", "WindowHighlightFrameColor"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }

    void everyNameTheModuleAsksForIsAnOpaqueColorInBothSkins()
    {
        QFETCH(QString, name);
        for (const int skin : kSkins) {
            StandInHost::setSkin(skin);
            QVERIFY(paletteColor(name).isValid());
            QCOMPARE(paletteColor(name).alpha(), 255);
            QVERIFY(highlightPaletteColor(name).isValid());
        }
    }

    void unknownNamesGiveNoColorAndNoNumber()
    {
        QVERIFY(!paletteColor(QStringLiteral("NoSuchColor")).isValid());
        QVERIFY(!highlightPaletteColor(QStringLiteral("NoSuchColor")).isValid());
        QCOMPARE(paletteNumber(QStringLiteral("NoSuchNumber")), quint16(0));
        QVERIFY(!paletteColor(QString()).isValid());
    }

    void theHighlightFrameHasAWidthAndAnOpacityInPercent()
    {
        for (const int skin : kSkins) {
            StandInHost::setSkin(skin);
            QVERIFY(paletteNumber(QStringLiteral("WindowHighlightFrameWidth")) > 0);
            const quint16 opacity = paletteNumber(QStringLiteral("WindowHighlightFrameOpacity"));
            QVERIFY(opacity > 0 && opacity <= 100);
        }
    }

    void iconsAreVisibleInASelectedRow()
    {
        for (int skin : {StandInHost::kLightSkin, StandInHost::kDarkSkin}) {
            StandInHost::setSkin(skin);
            const QColor selected = QApplication::palette().color(QPalette::Highlight);
            QVERIFY(contrast(iconTintColors().to, selected) >= 3.0);
        }
    }

    void textIsVisibleOnAnyHighlight()
    {
        for (const QColor& choice : {QColor(255, 240, 120), QColor(20, 20, 90), QColor(200, 0, 0)}) {
            for (int skin : {StandInHost::kLightSkin, StandInHost::kDarkSkin}) {
                StandInHost::setSkin(skin);
                StandInHost::setHighlightColor(choice);
                const QPalette palette = QApplication::palette();
                StandInHost::setHighlightColor(QColor());
                QCOMPARE(palette.color(QPalette::Highlight), choice);
                QVERIFY(contrast(palette.color(QPalette::HighlightedText), choice) >= 4.5);
            }
        }
    }

    void theUsersHighlightReplacesHighlightColorsOnly()
    {
        const QString menu = QStringLiteral("MenuSelectionColor");
        const QString row = QStringLiteral("BackgroundOddRowActiveColor");
        const QColor before = paletteColor(menu);
        const QColor choice(200, 40, 160);
        StandInHost::setHighlightColor(choice);
        QCOMPARE(highlightPaletteColor(menu), choice);
        QCOMPARE(paletteColor(menu), before);
        QCOMPARE(highlightPaletteColor(row), paletteColor(row));
        StandInHost::setHighlightColor(QColor());
        QCOMPARE(highlightPaletteColor(menu), before);
    }

    void textIsLegibleInBothSkins()
    {
        constexpr double legible = 4.5;
        for (const int skin : kSkins) {
            StandInHost::setSkin(skin);
            const QPalette palette = QApplication::palette();
            QVERIFY(contrast(palette.color(QPalette::WindowText), palette.color(QPalette::Window)) >=
                    legible);
            QVERIFY(contrast(palette.color(QPalette::Text), palette.color(QPalette::Base)) >= legible);
            QVERIFY(contrast(palette.color(QPalette::ButtonText), palette.color(QPalette::Button)) >=
                    legible);
            QVERIFY(contrast(palette.color(QPalette::HighlightedText), palette.color(QPalette::Highlight)) >=
                    legible);
            QVERIFY(contrast(palette.color(QPalette::ToolTipText), palette.color(QPalette::ToolTipBase)) >=
                    legible);
            for (const char* name : {"BackgroundOddRowActiveColor", "BackgroundEvenRowActiveColor"}) {
                QVERIFY(contrast(palette.color(QPalette::WindowText), paletteColor(group(name))) >= legible);
                QVERIFY(contrast(iconTintColors().to, paletteColor(group(name))) >= legible);
            }
        }
    }

    void rowsOfBothParitiesDiffer()
    {
        for (const int skin : kSkins) {
            StandInHost::setSkin(skin);
            QVERIFY(paletteColor(group("BackgroundOddRowActiveColor")) !=
                    paletteColor(group("BackgroundEvenRowActiveColor")));
        }
    }

    void aSkinSetsTheApplicationsStyleAndPalette()
    {
        StandInHost::setSkin(StandInHost::kDarkSkin);
        QCOMPARE(QApplication::style()->objectName(), QStringLiteral("stand-in"));
        QVERIFY(QApplication::palette().color(QPalette::Window).lightness() < 128);
        QVERIFY(QApplication::palette().color(QPalette::Disabled, QPalette::Text) !=
                QApplication::palette().color(QPalette::Active, QPalette::Text));
        StandInHost::setSkin(StandInHost::kLightSkin);
        QVERIFY(QApplication::palette().color(QPalette::Window).lightness() > 128);
    }

    void anEmptyCheckBoxCanBeSeenInBothSkins()
    {
        for (const int skin : kSkins) {
            StandInHost::setSkin(skin);
            QCheckBox box;
            box.resize(24, 24);
            const QImage picture = box.grab().toImage();
            const QColor ground = QApplication::palette().color(QPalette::Window);
            double strongest = 1;
            for (int y = 0; y < picture.height(); ++y) {
                for (int x = 0; x < picture.width(); ++x)
                    strongest = qMax(strongest, contrast(picture.pixelColor(x, y), ground));
            }
            constexpr double visible = 1.6;
            QVERIFY2(strongest >= visible, qPrintable(QString::number(strongest)));
        }
    }

    void disabledIconsAreDrawnWithLessAlpha()
    {
        QCOMPARE(disabledAlpha(false), 255);
        QCOMPARE(disabledAlpha(true), 125);
    }

    void everyIconThatTheModuleNamesIsThereInThreeResolutions_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("id");
        QTest::addColumn<int>("size");
        const auto icon = [](const char* folder, const char* id, int size) {
            QTest::newRow(id) << QString::fromLatin1(folder) << QString::fromLatin1(id) << size;
        };
        icon("icons/KRX", "IngestReady.png", 16);
        icon("icons/KRX", "IngestInProgress.png", 16);
        icon("icons/KRX", "NoIngest.png", 16);
        icon("icons/KRX", "multi_arrow.png", 40);
        icon("icons/KRX", "one_arrow.png", 40);
        icon("icons/Arrows/", "open_arrow.png", 10);
        icon("icons/Arrows/", "closed_arrow.png", 10);
        icon("icons", "Arrows/popup_arrow.png", 10);
        icon("icons/ProjectBins", "folder_closed.png", 16);
        icon("icons/app", "krx-desk.png", 256);
    }

    void everyIconThatTheModuleNamesIsThereInThreeResolutions()
    {
        QFETCH(QString, folder);
        QFETCH(QString, id);
        QFETCH(int, size);
        const QPixmap pixmap = skinnedPixmap(id, folder);
        QVERIFY(!pixmap.isNull());
        QCOMPARE(pixmap.size() / pixmap.devicePixelRatio(), QSize(size, size));
        const QIcon icon = skinnedIcon(id, folder);
        QVERIFY(!icon.isNull());
        QVERIFY(icon.availableSizes().contains(QSize(size, size)));
        for (const int scale : {2, 3}) {
            QString file = QStringLiteral(":/stand-in/%1/%2").arg(folder, id);
            file.replace(QLatin1String(".png"), QStringLiteral("@%1x.png").arg(scale));
            QCOMPARE(QImage(file).size(), QSize(size, size) * scale);
        }
    }

    void aClosingSlashOfTheGroupDoesNotMatter()
    {
        const QImage with = skinnedPixmap(QStringLiteral("open_arrow.png"), group("icons/Arrows/")).toImage();
        QVERIFY(!with.isNull());
        QCOMPARE(skinnedPixmap(QStringLiteral("open_arrow.png"), group("icons/Arrows")).toImage(), with);
        QCOMPARE(skinnedPixmap(QStringLiteral("Arrows/open_arrow.png"), group("icons")).toImage(), with);
    }

    void anUnknownIconIsNullAndDrawsNothing()
    {
        const QString id = QStringLiteral("no_such.png");
        QVERIFY(skinnedIcon(id, group("icons/KRX")).isNull());
        QVERIFY(skinnedPixmap(id, group("icons/KRX")).isNull());
        const QImage image = drawn({16, 16}, 1, [&id](QPainter* painter, const QRect& rect) {
            drawSkinnedIcon(painter, rect, id, group("icons/KRX"), iconTintColors(), 255);
            drawSkinnedImage(painter, rect, QPixmap(), iconTintColors(), 255);
        });
        QVERIFY(inkedRect(image).isEmpty());
    }

    void anIconIsDrawnCentredWithItsAspectKept()
    {
        const QImage image = drawn({40, 16}, 1, [](QPainter* painter, const QRect& rect) {
            drawSkinnedIcon(painter, rect, QStringLiteral("IngestReady.png"), group("icons/KRX"), {}, 255);
        });
        const QRect inked = inkedRect(image);
        QVERIFY(QRect(12, 0, 16, 16).contains(inked));
        QVERIFY(inked.width() >= 13 && inked.height() >= 13);
    }

    void aFinerScreenGetsTheFinerPicture()
    {
        for (const int ratio : {1, 2, 3}) {
            const QImage image = drawn({16, 16}, ratio, [](QPainter* painter, const QRect& rect) {
                drawSkinnedIcon(painter, rect, QStringLiteral("IngestReady.png"), group("icons/KRX"), {},
                                255);
            });
            const QString suffix = ratio == 1 ? QString() : QStringLiteral("@%1x").arg(ratio);
            const QImage source(QStringLiteral(":/stand-in/icons/KRX/IngestReady%1.png").arg(suffix));
            QCOMPARE(image.size(), source.size());
            int differing = 0;
            for (int y = 0; y < source.height(); ++y) {
                for (int x = 0; x < source.width(); ++x) {
                    // Painting rounds once more where a pixel is not opaque.
                    const QColor expected = source.pixelColor(x, y);
                    const QColor actual = image.pixelColor(x, y);
                    const bool isSame = qAbs(expected.alpha() - actual.alpha()) <= 2 &&
                                        (expected.alpha() < 255 || expected == actual);
                    differing += isSame ? 0 : 1;
                }
            }
            QCOMPARE(differing, 0);
        }
    }

    void theTintReplacesTheInkAndNothingElse()
    {
        const IconTintColors red{iconTintColors().from, Qt::darkRed};
        const QImage folder = drawn({16, 16}, 1, [&red](QPainter* painter, const QRect& rect) {
            drawSkinnedImage(painter, rect,
                             skinnedPixmap(QStringLiteral("folder_closed.png"), group("icons/ProjectBins")),
                             red, 255);
        });
        QCOMPARE(folder.pixelColor(8, 11), QColor(Qt::darkRed));
        const auto ready = [](const IconTintColors& colors) {
            return drawn({16, 16}, 1, [&colors](QPainter* painter, const QRect& rect) {
                drawSkinnedIcon(painter, rect, QStringLiteral("IngestReady.png"), group("icons/KRX"), colors,
                                255);
            });
        };
        QCOMPARE(ready(red), ready({}));
    }

    void theDarkSkinsTintMakesArrowsLight()
    {
        const auto arrow = [] {
            return drawn({10, 10}, 1, [](QPainter* painter, const QRect& rect) {
                drawSkinnedIcon(painter, rect, QStringLiteral("open_arrow.png"), group("icons/Arrows/"),
                                iconTintColors(), 255);
            });
        };
        QVERIFY(arrow().pixelColor(5, 4).lightness() < 128);
        StandInHost::setSkin(StandInHost::kDarkSkin);
        QVERIFY(arrow().pixelColor(5, 4).lightness() > 128);
    }

    void alphaIsTheOpacityOfTheDrawnIcon()
    {
        const auto atAlpha = [](int alpha) {
            return strongestAlpha(drawn({10, 10}, 1, [alpha](QPainter* painter, const QRect& rect) {
                drawSkinnedIcon(painter, rect, QStringLiteral("open_arrow.png"), group("icons/Arrows/"), {},
                                alpha);
            }));
        };
        QCOMPARE(atAlpha(255), 255);
        QVERIFY(qAbs(atAlpha(125) - 125) <= 1);
        QCOMPARE(atAlpha(0), 0);
    }

    void aPressedIconDiffersFromANormalOneInBothSkins()
    {
        for (const int skin : kSkins) {
            StandInHost::setSkin(skin);
            const auto popup = [](IconVariant variant) {
                return drawn({10, 10}, 1, [variant](QPainter* painter, const QRect& rect) {
                    drawSkinnedIcon(painter, rect, QStringLiteral("Arrows/popup_arrow.png"), group("icons"),
                                    iconTintColors(), 255, variant);
                });
            };
            QVERIFY(popup(IconVariant::Pressed) != popup(IconVariant::Normal));
            QCOMPARE(inkedRect(popup(IconVariant::Pressed)), inkedRect(popup(IconVariant::Normal)));
        }
    }
};

QTEST_MAIN(TestHostSkins)
#include "test_host_skins.moc"
