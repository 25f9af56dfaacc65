#include "ArrowButton.h"
#include "EventCounter.h"
#include "HostQtShell.h"
#include "StandInHost.h"

#include <QImage>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>

namespace {

/// Draws other icons and leaves everything else alone.
class OtherIcons : public ArrowButton
{
public:
    using ArrowButton::ArrowButton;
    QString getResGroup() const override { return QStringLiteral("icons/KRX"); }
    QString getResID() const override { return QStringLiteral("one_arrow.png"); }
};

QImage blank(const QSize& size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

QImage painted(QWidget& widget)
{
    QImage image = blank(widget.size());
    widget.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image;
}

QImage icon(const QString& group, const QString& name, int alpha)
{
    QImage image = blank(QSize(10, 10));
    QPainter painter(&image);
    HostQtShell::drawSkinnedIcon(&painter, QRect(0, 0, 10, 10), name, group, HostQtShell::iconTintColors(),
                                 alpha);
    return image;
}

} // namespace

class TestArrowButton : public QObject
{
    Q_OBJECT

private slots:
    void bareHostsArrowIsDrawnByHand();
    void init() { StandInHost::setSkin(StandInHost::kLightSkin); }

    void aNewButtonIsClosed()
    {
        const ArrowButton button(nullptr);
        QCOMPARE(int(button.getButtonState()), 1);
        QCOMPARE(int(ArrowButton::Open), 0);
        QCOMPARE(int(ArrowButton::Closed), 1);
    }

    void theIconFollowsTheState()
    {
        ArrowButton button(nullptr);
        QCOMPARE(button.getResGroup(), QStringLiteral("icons/Arrows/"));
        QCOMPARE(button.getResID(), QStringLiteral("closed_arrow.png"));
        button.setState(ArrowButton::Open);
        QCOMPARE(button.getResID(), QStringLiteral("open_arrow.png"));
        button.setState(static_cast<ArrowButton::ArrowButtonnState>(5));
        QCOMPARE(button.getResID(), QStringLiteral("closed_arrow.png"));
    }

    void aLeftPressFlipsTheStateAndThenEmitsClicked()
    {
        ArrowButton button(nullptr);
        QList<int> states;
        connect(&button, &ArrowButton::clicked, this, [&] { states << int(button.getButtonState()); });
        QTest::mousePress(&button, Qt::LeftButton);
        QTest::mouseRelease(&button, Qt::LeftButton);
        QTest::mousePress(&button, Qt::LeftButton);
        QCOMPARE(states, QList<int>({0, 1}));
    }

    void anyStateButClosedFlipsToClosed()
    {
        ArrowButton button(nullptr);
        button.setState(static_cast<ArrowButton::ArrowButtonnState>(2));
        QTest::mousePress(&button, Qt::LeftButton);
        QCOMPARE(int(button.getButtonState()), 1);
    }

    void aLeftPressIsAcceptedAndOthersAreLeftToTheParent()
    {
        ArrowButton button(nullptr);
        QSignalSpy clicked(&button, &ArrowButton::clicked);
        const auto isAccepted = [&button](Qt::MouseButton which) {
            QMouseEvent event(QEvent::MouseButtonPress, QPointF(1, 1), which, which, Qt::NoModifier);
            event.ignore();
            QCoreApplication::sendEvent(&button, &event);
            return event.isAccepted();
        };
        QVERIFY(!isAccepted(Qt::RightButton));
        QVERIFY(!isAccepted(Qt::MiddleButton));
        QCOMPARE(clicked.count(), 0);
        QCOMPARE(int(button.getButtonState()), 1);
        QVERIFY(isAccepted(Qt::LeftButton));
        QCOMPARE(clicked.count(), 1);
    }

    void aPressRepaintsAndSettingTheStateDoesNot()
    {
        ArrowButton button(nullptr);
        button.resize(10, 10);
        button.show();
        QVERIFY(QTest::qWaitForWindowExposed(&button));
        QCoreApplication::processEvents();
        const KRXTest::EventCounter paints(&button, QEvent::Paint);
        button.setState(ArrowButton::Open);
        QCoreApplication::processEvents();
        QCOMPARE(paints.count(), 0);
        QTest::mousePress(&button, Qt::LeftButton);
        QTRY_VERIFY(paints.count() > 0);
    }

    void aListenerMayDeleteTheButton()
    {
        auto* button = new ArrowButton(nullptr);
        const QPointer<ArrowButton> guard(button);
        connect(button, &ArrowButton::clicked, this, [button] { button->deleteLater(); });
        QTest::mousePress(button, Qt::LeftButton);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(guard.isNull());
    }

    void theIconOfTheStateIsDrawnOverTheWholeButton_data()
    {
        QTest::addColumn<int>("skin");
        QTest::newRow("light") << StandInHost::kLightSkin;
        QTest::newRow("dark") << StandInHost::kDarkSkin;
    }

    void theIconOfTheStateIsDrawnOverTheWholeButton()
    {
        QFETCH(int, skin);
        StandInHost::setSkin(skin);
        ArrowButton button(nullptr);
        button.resize(10, 10);
        const QString group = QStringLiteral("icons/Arrows/");
        const QImage closed = icon(group, QStringLiteral("closed_arrow.png"), 255);
        const QImage open = icon(group, QStringLiteral("open_arrow.png"), 255);
        QVERIFY(closed != blank(button.size()));
        QVERIFY(closed != open);
        QCOMPARE(painted(button), closed);
        button.setState(ArrowButton::Open);
        QCOMPARE(painted(button), open);
    }

    void aDisabledButtonIsDrawnFainter()
    {
        ArrowButton button(nullptr);
        button.resize(10, 10);
        button.setEnabled(false);
        const QString group = QStringLiteral("icons/Arrows/");
        const QString name = QStringLiteral("closed_arrow.png");
        QVERIFY(icon(group, name, 125) != icon(group, name, 255));
        QCOMPARE(painted(button), icon(group, name, 125));
        button.setEnabled(true);
        QCOMPARE(painted(button), icon(group, name, 255));
    }

    void aDerivedButtonDrawsItsOwnIcon()
    {
        OtherIcons button(nullptr);
        button.resize(10, 10);
        const QImage expected = icon(button.getResGroup(), button.getResID(), 255);
        QVERIFY(expected != blank(button.size()));
        QCOMPARE(painted(button), expected);
    }
};

void TestArrowButton::bareHostsArrowIsDrawnByHand()
{
    ArrowButton button(nullptr);
    button.resize(10, 10);
    QPalette palette = button.palette();
    palette.setColor(QPalette::WindowText, QColor(0, 0, 200));
    button.setPalette(palette);
    StandInHost::setBare(true);
    const QImage closed = painted(button);
    button.setState(ArrowButton::Open);
    const QImage open = painted(button);
    StandInHost::setBare(false);
    QVERIFY(closed != blank(closed.size()));
    QVERIFY(open != blank(open.size()));
    QVERIFY(open != closed);
    QCOMPARE(closed.pixelColor(5, 5), QColor(0, 0, 200));
}

QTEST_MAIN(TestArrowButton)
#include "test_arrow_button.moc"
