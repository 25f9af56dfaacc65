#include "KRXBinsSettings.h"
#include "KRXQualitySettings.h"
#include "KRXXelPlugin.h"
#include "SettingsFixture.h"
#include "StandInHost.h"
#include "VGroupBox.h"
#include "XelTextFitter.h"

#include <QApplication>
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
        new XelTextFitter(label);
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
        new XelTextFitter(label);
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
        new XelTextFitter(label);
        window.show();
        QVERIFY(label->font().pixelSize() >= 14);
        QVERIFY(label->font().pixelSize() < 20);
    }

private:
    QFont m_font;
};

QTEST_MAIN(TestTextFitter)
#include "test_text_fitter.moc"
