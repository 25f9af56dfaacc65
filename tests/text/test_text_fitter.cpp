#include "KRXBinsSettings.h"
#include "KRXFittedFont.h"
#include "KRXQualitySettings.h"
#include "KRXTextFitter.h"
#include "KRXXelPlugin.h"
#include "SettingsFixture.h"
#include "StandInHost.h"
#include "VGroupBox.h"

#include <QApplication>
#include <QFontMetrics>
#include <QPushButton>
#include <QStyle>
#include <QStyleOptionButton>
#include <QVBoxLayout>

namespace {

bool fits(const QWidget* widget)
{
    return widget->minimumSizeHint().width() <= widget->maximumWidth();
}

} // namespace

class TestTextFitter : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_font = QApplication::font(); }
    void cleanup() { QApplication::setFont(m_font); }

    void theTextsOfTheGroupsStayWithinTheirWidths_data()
    {
        QTest::addColumn<int>("pixels");
        for (const int pixels : {9, 11, 12, 13, 14, 15})
            QTest::addRow("%d pixels", pixels) << pixels;
    }

    void theTextsOfTheGroupsStayWithinTheirWidths()
    {
        QFETCH(int, pixels);
        QFont font = m_font;
        font.setPixelSize(pixels);
        QApplication::setFont(font);
        SettingsTest::Fixture<KRXXelPlugin> plugin;
        SettingsTest::Fixture<KRXBinsSettings> bins;
        SettingsTest::Fixture<KRXQualitySettings> quality;
        for (QWidget* widget : {plugin.widget.get(), bins.widget.get(), quality.widget.get()})
            widget->show();
        QVERIFY(fits(plugin.widget->findChild<QLabel*>()));
        QVERIFY(fits(bins.widget->findChild<QWidget*>(QStringLiteral("binNamingMethod"))));
        for (const VGroupBox* box : quality.widget->findChildren<VGroupBox*>())
            QVERIFY(fits(box));
    }

    void aTextThatFitsKeepsTheFont()
    {
        QWidget window;
        auto* label = new QLabel(QStringLiteral("x"), &window);
        label->setFixedWidth(200);
        new KRXTextFitter(label);
        window.show();
        QCOMPARE(label->font(), window.font());
    }

    void theFontFollowsTheOneAroundItBothWays()
    {
        QWidget window;
        QFont font = window.font();
        font.setPixelSize(12);
        window.setFont(font);
        auto* label = new QLabel(QStringLiteral("Some words in a label"), &window);
        label->setFixedWidth(label->minimumSizeHint().width());
        new KRXTextFitter(label);
        window.show();
        QCOMPARE(label->font().pixelSize(), 12);
        font.setPixelSize(14);
        window.setFont(font);
        QVERIFY(fits(label));
        QVERIFY(label->font().pixelSize() < 14);
        font.setPixelSize(12);
        window.setFont(font);
        QCOMPARE(label->font().pixelSize(), 12);
    }

    void nothingBecomesSmallerThanLegible()
    {
        QWidget window;
        QFont font = window.font();
        font.setPixelSize(20);
        window.setFont(font);
        auto* label = new QLabel(QString(500, QLatin1Char('x')), &window);
        label->setFixedWidth(50);
        new KRXTextFitter(label);
        window.show();
        QVERIFY(label->font().pixelSize() >= 14);
        QVERIFY(label->font().pixelSize() < 20);
    }

    void aFontIsChangedByAsLittleAsItTakes_data()
    {
        QTest::addColumn<int>("room");
        QTest::addColumn<int>("pixelSize");
        QTest::addColumn<int>("stretch");
        // A font of 100 pixels is 1000 wide here, and as much narrower as it is told to be.
        QTest::newRow("it fits") << 1000 << 100 << 0;
        QTest::newRow("one step smaller") << 999 << 95 << 0;
        QTest::newRow("two steps smaller") << 949 << 90 << 0;
        QTest::newRow("as small as can be read") << 700 << 70 << 0;
        QTest::newRow("one step narrower") << 699 << 70 << 95;
        QTest::newRow("as narrow as can be read") << 420 << 70 << 60;
        QTest::newRow("not at all") << 10 << 70 << 60;
    }

    void aFontIsChangedByAsLittleAsItTakes()
    {
        QFETCH(int, room);
        QFETCH(int, pixelSize);
        QFETCH(int, stretch);
        QFont font;
        font.setPixelSize(100);
        const QFont fitted = KRXText::fittedFont(font, room, [](const QFont& candidate) {
            const int percent = candidate.stretch() > 0 ? candidate.stretch() : 100;
            return candidate.pixelSize() * percent / 10;
        });
        QCOMPARE(fitted.pixelSize(), pixelSize);
        QCOMPARE(fitted.stretch(), stretch);
    }

    void aFontInPointsIsMadeSmallerInPoints()
    {
        QFont font;
        font.setPointSizeF(10);
        const QFont fitted = KRXText::fittedFont(
            font, 90, [](const QFont& candidate) { return qRound(candidate.pointSizeF() * 10); });
        QCOMPARE(fitted.pointSizeF(), 9.0);
        QCOMPARE(fitted.pixelSize(), -1);
    }

    void theTextOfAButtonStaysBetweenItsEdges()
    {
        QWidget window;
        auto* button = new QPushButton(QStringLiteral("Profil-Editor und mehr"), &window);
        button->setFixedSize(110, 24);
        const int before = QFontMetrics(button->font()).horizontalAdvance(button->text());
        new KRXTextFitter(button);
        window.show();
        QStyleOptionButton option;
        option.initFrom(button);
        const int room =
            button->style()->subElementRect(QStyle::SE_PushButtonContents, &option, button).width();
        QVERIFY(before > room);
        QVERIFY(QFontMetrics(button->font()).horizontalAdvance(button->text()) <= room);
    }

    void aButtonWhoseTextFitsKeepsItsFontHoweverWideItsStyleWantsIt()
    {
        QWidget window;
        auto* button = new QPushButton(QStringLiteral("Set"), &window);
        button->setFixedSize(40, 24);
        new KRXTextFitter(button);
        window.show();
        QVERIFY(!fits(button));
        QCOMPARE(button->font(), window.font());
    }

private:
    QFont m_font;
};

QTEST_MAIN(TestTextFitter)
#include "test_text_fitter.moc"
