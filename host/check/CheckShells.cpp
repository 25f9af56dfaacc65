#include "HostCheck.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QImage>
#include <QPainter>
#include <QTimer>

namespace {

constexpr int kOpaque = 255;
constexpr int kLookInterval = 50; // milliseconds
constexpr QSize kCanvas(32, 32);

constexpr const char* kColors[] = {"BackgroundEvenRowActiveColor", "BackgroundOddRowActiveColor",
                                   "MenuSelectionColor", "WindowHighlightFrameColor"};
constexpr const char* kNumbers[] = {"WindowHighlightFrameWidth", "WindowHighlightFrameOpacity"};

struct Icon
{
    const char* group;
    const char* id;
};

constexpr Icon kIcons[] = {
    {"icons/Arrows/", "open_arrow.png"},
    {"icons/Arrows/", "closed_arrow.png"},
    {"icons", "Arrows/popup_arrow.png"},
    {"icons/KRX", "multi_arrow.png"},
    {"icons/KRX", "one_arrow.png"},
    {"icons/KRX", "IngestReady.png"},
    {"icons/KRX", "IngestInProgress.png"},
    {"icons/KRX", "NoIngest.png"},
    {"icons/ProjectBins", "folder_closed.png"},
};

QString text(const char* latin)
{
    return QString::fromLatin1(latin);
}

/// Tells whether events were delivered while it lived.
class LoopWatch : public QObject
{
public:
    LoopWatch() { QCoreApplication::postEvent(this, new QEvent(QEvent::User)); }
    bool ranALoop() const { return m_seen; }

protected:
    bool event(QEvent* event) override
    {
        m_seen = m_seen || event->type() == QEvent::User;
        return QObject::event(event);
    }

private:
    bool m_seen = false;
};

void checkColors(const HostOperations& host, HostFindings& findings)
{
    using Lookup = QColor (*)(const QString&);
    const Lookup lookups[] = {host.HostQtShell_paletteColor, host.HostQtShell_highlightPaletteColor};
    for (Lookup lookup : lookups) {
        findings.expect(!lookup(QStringLiteral("NoSuchColor")).isValid(),
                        QStringLiteral("an unknown name of the palette gives a colour"));
        for (const char* name : kColors) {
            const QColor color = lookup(text(name));
            findings.expect(!color.isValid() || color.alpha() == kOpaque,
                            QStringLiteral("the colour %1 is not opaque").arg(text(name)));
        }
    }
    for (const char* name : kColors) {
        if (!host.HostQtShell_paletteColor(text(name)).isValid())
            findings.none(QStringLiteral("the colour ") + text(name));
    }
    findings.expect(host.HostQtShell_paletteNumber(QStringLiteral("NoSuchNumber")) == 0,
                    QStringLiteral("an unknown name of the palette gives a number"));
    for (const char* name : kNumbers) {
        if (host.HostQtShell_paletteNumber(text(name)) == 0)
            findings.none(QStringLiteral("the number ") + text(name));
    }
}

/// Whether a painter is handed back as it was.
bool leavesPainterAlone(const QPainter& painter, const QPainter& untouched)
{
    return painter.transform() == untouched.transform() && painter.pen() == untouched.pen() &&
           painter.brush() == untouched.brush() && qFuzzyCompare(painter.opacity(), untouched.opacity());
}

void checkIcons(const HostOperations& host, HostFindings& findings)
{
    findings.expect(
        host.HostQtShell_skinnedPixmap(QStringLiteral("none.png"), QStringLiteral("icons/KRX")).isNull(),
        QStringLiteral("skinnedPixmap() has a picture for an unknown name"));
    findings.expect(
        host.HostQtShell_skinnedIcon(QStringLiteral("none.png"), QStringLiteral("icons/KRX")).isNull(),
        QStringLiteral("skinnedIcon() has a picture for an unknown name"));
    const HostQtShell::IconTintColors tint = host.HostQtShell_iconTintColors();
    for (const Icon& icon : kIcons) {
        const QString name = QDir::cleanPath(text(icon.group) + QLatin1Char('/') + text(icon.id));
        const QPixmap pixmap = host.HostQtShell_skinnedPixmap(text(icon.id), text(icon.group));
        QImage canvas(kCanvas, QImage::Format_ARGB32_Premultiplied);
        QImage other(kCanvas, QImage::Format_ARGB32_Premultiplied);
        canvas.fill(Qt::transparent);
        const QImage empty = canvas;
        {
            QPainter painter(&canvas);
            const QPainter untouched(&other);
            host.HostQtShell_drawSkinnedIcon(&painter, canvas.rect(), text(icon.id), text(icon.group), tint,
                                             kOpaque, HostQtShell::IconVariant::Normal);
            findings.expect(leavesPainterAlone(painter, untouched),
                            QStringLiteral("drawSkinnedIcon() changes the painter: ") + name);
        }
        if (pixmap.isNull()) {
            findings.none(QStringLiteral("the icon ") + name);
            continue;
        }
        findings.expect(canvas != empty, QStringLiteral("drawSkinnedIcon() draws nothing: ") + name);
        findings.expect(!host.HostQtShell_skinnedIcon(text(icon.id), text(icon.group)).isNull(),
                        QStringLiteral("skinnedIcon() lacks what skinnedPixmap() has: ") + name);
    }
    QPixmap picture(kCanvas);
    picture.fill(Qt::red);
    QImage canvas(kCanvas, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::transparent);
    const QImage empty = canvas;
    {
        QPainter painter(&canvas);
        host.HostQtShell_drawSkinnedImage(&painter, canvas.rect(), picture, tint, kOpaque);
    }
    if (canvas == empty)
        findings.none(QStringLiteral("a way to draw pictures (drawSkinnedImage)"));
    const int enabled = host.HostQtShell_disabledAlpha(false);
    const int disabled = host.HostQtShell_disabledAlpha(true);
    findings.expect(disabled >= 0 && disabled <= enabled && enabled <= kOpaque,
                    QStringLiteral("disabledAlpha() is not between 0 and 255, or more when disabled"));
}

void checkOverlay(const HostOperations& host, HostFindings& findings)
{
    QAbstractScrollArea area;
    QWidget* overlay = host.HostQtShell_addDropShadowOverlay(&area);
    if (!overlay) {
        findings.none(QStringLiteral("a drop shadow"));
        return;
    }
    findings.expect(area.isAncestorOf(overlay), QStringLiteral("the drop shadow is no child of its area"));
    findings.expect(overlay->testAttribute(Qt::WA_TransparentForMouseEvents),
                    QStringLiteral("the drop shadow takes mouse events"));
    area.resize(200, 100);
    area.show();
    QCoreApplication::processEvents();
    findings.expect(overlay->size() == area.viewport()->size(),
                    QStringLiteral("the drop shadow does not keep to the viewport"));
}

} // namespace

namespace HostCheck {

void checkShells(const HostOperations& host, HostFindings& findings)
{
    findings.expect(host.HostQtShell_currentSkinIndex() >= 0,
                    QStringLiteral("currentSkinIndex() is negative"));
    checkColors(host, findings);
    checkIcons(host, findings);
    checkOverlay(host, findings);
    {
        const LoopWatch watch;
        host.HostStatusShell_statusProgressReset();
        host.HostStatusShell_statusProgressUpdate(QStringLiteral("Checking"), 1, 2);
        host.HostStatusShell_statusProgressClose();
        host.HostQtShell_holdNavigationPanes();
        host.HostQtShell_releaseNavigationPanes();
        findings.expect(!watch.ranALoop(), QStringLiteral("the progress or the panes run an event loop"));
    }
    const LoopWatch watch;
    host.HostStatusShell_showHelpTopic(QStringLiteral("IDH_ProfileEditor_Window"), 1);
    findings.expect(!watch.ranALoop(), QStringLiteral("showHelpTopic() runs an event loop"));
}

void checkDialogs(const HostOperations& host, HostFindings& findings)
{
    QTimer closer;
    QObject::connect(&closer, &QTimer::timeout, qApp, [] {
        if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget()))
            dialog->close();
    });
    closer.start(kLookInterval);
    const QMessageBox::StandardButton button = host.HostQtShell_showManagedMessageBox(
        nullptr, QMessageBox::Question, QStringLiteral("krx-host-check"),
        QStringLiteral("This box is closed by itself."), QMessageBox::Yes | QMessageBox::No,
        QMessageBox::Yes);
    findings.expect(button == QMessageBox::No || button == QMessageBox::Yes,
                    QStringLiteral("a message box answers with a button that it was not given"));
    findings.expect(button != QMessageBox::Yes,
                    QStringLiteral("a message box that is closed counts as Yes, though it has a No"));
    const QString chosen =
        host.HostQtShell_chooseDirectory(nullptr, QStringLiteral("This is closed by itself."), QString());
    findings.expect(chosen.isEmpty(), QStringLiteral("a chooser that is closed has chosen ") + chosen);
}

} // namespace HostCheck
