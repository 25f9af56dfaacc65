#include "HostQtShell.h"

#include "HostCore.h"
#include "StandInRecords.h"

#include <QEvent>
#include <QFileDialog>
#include <QLinearGradient>
#include <QPainter>
#include <QPointer>
#include <QWidget>

namespace {

/// A soft shadow along the upper edge of a scroll area, as if the area lay below its frame.
class DropShadowOverlay : public QWidget
{
public:
    explicit DropShadowOverlay(QAbstractScrollArea* area)
        : QWidget(area)
        , m_area(area)
    {
        setObjectName(QStringLiteral("dropShadowOverlay"));
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setAttribute(Qt::WA_NoSystemBackground);
        setFocusPolicy(Qt::NoFocus);
        area->installEventFilter(this);
        follow();
    }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        switch (event->type()) {
        case QEvent::Resize:
        case QEvent::Move:
        case QEvent::Show:
        case QEvent::LayoutRequest:
            follow();
            break;
        default:
            break;
        }
        return QWidget::eventFilter(watched, event);
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        constexpr int depth = 5;
        QLinearGradient shade(0, 0, 0, depth);
        shade.setColorAt(0, QColor(0, 0, 0, 70));
        shade.setColorAt(1, QColor(0, 0, 0, 0));
        QPainter painter(this);
        painter.fillRect(QRect(0, 0, width(), depth), shade);
    }

private:
    void follow()
    {
        // The area's owner may have given it another viewport.
        if (m_viewport != m_area->viewport()) {
            m_viewport = m_area->viewport();
            m_viewport->installEventFilter(this);
        }
        if (m_area->viewport()->geometry() != geometry())
            setGeometry(m_area->viewport()->geometry());
        raise();
    }

    QAbstractScrollArea* m_area;
    QPointer<QWidget> m_viewport;
};

} // namespace

namespace HostQtShell {

QMessageBox::StandardButton showManagedMessageBox(QWidget* parent, QMessageBox::Icon icon,
                                                  const QString& title, const QString& text,
                                                  QMessageBox::StandardButtons buttons,
                                                  QMessageBox::StandardButton defaultButton)
{
    StandInHost::Records& records = StandInHost::records();
    const StandInHost::MessageRequest request{parent, icon, title, text, buttons, defaultButton};
    if (records.recorder)
        records.recorder->asked(request);
    const StandInHost::MessageAnswerer answerer = records.messageAnswerer;
    if (answerer)
        return answerer(request);

    // On the heap and guarded, because the parent may go away while the box is open.
    const QPointer<QMessageBox> box = new QMessageBox(icon, title, text, buttons, parent);
    box->setTextFormat(Qt::PlainText);
    box->setDefaultButton(defaultButton);
    const int chosen = box->exec();
    delete box;
    const auto button = static_cast<QMessageBox::StandardButton>(chosen);
    return buttons.testFlag(button) && button != QMessageBox::NoButton ? button : defaultButton;
}

QString chooseDirectory(QWidget* parent, const QString& caption, const QString& start)
{
    StandInHost::Records& records = StandInHost::records();
    const StandInHost::DirectoryRequest request{parent, caption, start};
    if (records.recorder)
        records.recorder->asked(request);
    const StandInHost::DirectoryAnswerer answerer = records.directoryAnswerer;
    if (answerer)
        return answerer(request);
    return QFileDialog::getExistingDirectory(parent, caption, start,
                                             QFileDialog::ShowDirsOnly | QFileDialog::DontUseNativeDialog);
}

QWidget* addDropShadowOverlay(QAbstractScrollArea* area)
{
    return new DropShadowOverlay(area);
}

void holdNavigationPanes()
{
    ++StandInHost::records().guardDepth;
    ++StandInHost::records().guardCount;
}

void releaseNavigationPanes()
{
    --StandInHost::records().guardDepth;
}

} // namespace HostQtShell
