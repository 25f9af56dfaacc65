#include "KRXSummaryWidget.h"
#include "KRXTest.h"
#include "KRXTwistWidget.h"
#include "KRXXml.h"
#include "StandInHost.h"

#include <QAbstractItemModelTester>
#include <QHeaderView>
#include <QLineEdit>
#include <QPainter>
#include <QStyleOptionViewItem>
#include <QVBoxLayout>

#include <cmath>

namespace {

/// A name without any place to break it.
QString longWord()
{
    return QString(200, QLatin1Char('w'));
}

QDomDocument document(const QString& activities)
{
    QDomDocument parsed;
    const QString text =
        QStringLiteral("<profile><binDetail><binSelectionMethod>CREATENEW</binSelectionMethod>"
                       "<binNamingMethod>EXPLICIT</binNamingMethod><binExplicitName>Rushes of the day"
                       "</binExplicitName></binDetail><linkDetail><multichannelAudio>None</multichannelAudio>"
                       "<xelAudioStartTimeOption>23.976</xelAudioStartTimeOption><xelPreferredPluginDetail>"
                       "<xelPluginName>Any Media Linker</xelPluginName></xelPreferredPluginDetail>"
                       "</linkDetail>%1</profile>")
            .arg(activities);
    if (!KRXXml::parse(text, parsed))
        qFatal("the test's document is not XML: %s", qPrintable(text));
    return parsed;
}

/// One action of each kind with everything that it can show.
QString everyAction()
{
    return QStringLiteral(
               "<activity id=\"copy\" name=\"Copy 1\"><destinationDetail>"
               "<filesystemPath>/media/volumes/of the house/%1/rushes</filesystemPath>"
               "<relinkAfterCopy>true</relinkAfterCopy><autoCheckin>true</autoCheckin></destinationDetail>"
               "</activity><activity id=\"transcode\" name=\"Transcode 12\"><outputDetail>"
               "<filesystemVideoVolume>/media/video volume of the house/</filesystemVideoVolume>"
               "<filesystemAudioVolume>/media/audio volume of the house/</filesystemAudioVolume>"
               "<outputTranscodeVideoProfile>"
               "<videoIncludeReformattedContent>true</videoIncludeReformattedContent>"
               "<applyColorTransformations>true</applyColorTransformations>"
               "<videoCompressionType name=\"A compression of a rather long name\">7</videoCompressionType>"
               "</outputTranscodeVideoProfile><outputAudioProfile>"
               "<audioSampleRate enabled=\"true\">48000</audioSampleRate>"
               "<audioSampleWidth enabled=\"true\">24</audioSampleWidth>"
               "<audioFormat enabled=\"true\">PCM  (MXF OP1a)</audioFormat></outputAudioProfile>"
               "</outputDetail></activity><activity id=\"consolidate\" name=\"Consolidate\"><outputDetail>"
               "<outputConsolidateVideoProfile><videoSkipOnTarget>true</videoSkipOnTarget>"
               "<videoRelinkSkippedToTarget>true</videoRelinkSkippedToTarget>"
               "</outputConsolidateVideoProfile></outputDetail></activity>")
        .arg(longWord());
}

/// A summary in an open section of a window, as the editor holds one.
class ShownSummary
{
public:
    ShownSummary()
        : section(new KRXTwistWidget(&window, QStringLiteral("Summary")))
        , summary(new KRXSummaryWidget(section))
    {
        auto* layout = new QVBoxLayout(&window);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(section);
        layout->addStretch();
        section->addWidgetToBody(summary, 0);
        section->setOpen(true);
        window.resize(520, 600);
        window.show();
    }

    void load(const QString& activities)
    {
        QDomDocument doc = document(activities);
        summary->updateSummaryFromXML(doc);
    }

    int heightOfRows() const
    {
        int height = 0;
        for (int row = 0; row < summary->rowCount(); ++row)
            height += summary->rowHeight(row);
        return height;
    }

    /// A cell as it is painted when its row is higher by \a more pixels.
    QImage painted(int row, int column, int more) const
    {
        const QSize size(summary->columnWidth(column), summary->rowHeight(row));
        QImage image(size + QSize(0, 400), QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        QStyleOptionViewItem option;
        option.initFrom(summary);
        option.font = summary->font();
        option.widget = summary;
        option.rect = QRect(QPoint(0, 0), size + QSize(0, more));
        option.features |= QStyleOptionViewItem::WrapText;
        const QModelIndex index = summary->model()->index(row, column);
        summary->itemDelegate(index)->paint(&painter, option, index);
        return image;
    }

    /// The least height that the text of a cell can be written in.
    int leastHeight(int row, int column) const
    {
        const QTableWidgetItem* item = summary->item(row, column);
        const QFontMetrics metrics(summary->font());
        int lines = 0;
        for (const QString& line : item->text().split(QLatin1Char('\n'))) {
            const double needed = double(metrics.horizontalAdvance(line)) / summary->columnWidth(column);
            lines += qMax(1, int(std::ceil(needed)));
        }
        return lines * metrics.height();
    }

    QWidget window;
    KRXTwistWidget* section;
    KRXSummaryWidget* summary;
};

} // namespace

/// How the summary fits its columns, its rows and itself to what it shows.
class TestSummaryLayout : public QObject
{
    Q_OBJECT

private:
    static void verifyEveryTextFits(const ShownSummary& shown, int width)
    {
        const KRXSummaryWidget& summary = *shown.summary;
        for (int row = 0; row < summary.rowCount(); ++row) {
            for (int column = 0; column < summary.columnCount(); ++column) {
                const QString where =
                    QStringLiteral("row %1, column %2 at a width of %3")
                        .arg(QString::number(row), QString::number(column), QString::number(width));
                QVERIFY2(summary.rowHeight(row) >= shown.leastHeight(row, column), qPrintable(where));
                const QImage whole = shown.painted(row, column, 400);
                QVERIFY2(shown.painted(row, column, 0) == whole, qPrintable(where));
                QVERIFY2(isBlankBelow(whole, summary.rowHeight(row)), qPrintable(where));
            }
        }
        QCOMPARE(summary.columnWidth(0) + summary.columnWidth(1), summary.viewport()->width());
        QCOMPARE(summary.height(), 6 + shown.heightOfRows());
    }

    static bool isBlankBelow(const QImage& image, int top)
    {
        QImage blank = image.copy(0, top, image.width(), image.height() - top);
        const QImage below = blank;
        blank.fill(Qt::white);
        return below == blank;
    }

private slots:
    void init() { StandInHost::resetRecords(); }

    void everyTextFitsInEveryWidthWiderAndNarrower()
    {
        ShownSummary shown;
        shown.load(everyAction());
        verifyEveryTextFits(shown, shown.window.width());
        for (int width = 200; width <= 1500; width += 50) {
            shown.window.resize(width, 600);
            verifyEveryTextFits(shown, width);
            if (QTest::currentTestFailed())
                return;
        }
        for (int width = 1490; width >= 200; width -= 70) {
            shown.window.resize(width, 600);
            verifyEveryTextFits(shown, width);
            if (QTest::currentTestFailed())
                return;
        }
    }

    void aNarrowerSummaryIsHigherAndAWiderOneLowerAgain()
    {
        ShownSummary shown;
        shown.load(everyAction());
        const int before = shown.summary->height();
        shown.window.resize(300, 600);
        QVERIFY(shown.summary->height() > before);
        shown.window.resize(520, 600);
        QCOMPARE(shown.summary->height(), before);
    }

    void aSummaryThatWasLoadedInAClosedSectionFitsOnceItIsOpened()
    {
        ShownSummary shown;
        shown.section->setOpen(false);
        shown.load(everyAction());
        shown.window.resize(340, 600);
        shown.section->setOpen(true);
        verifyEveryTextFits(shown, 340);
    }

    void theTitlesTakeWhatTheyNeedAndNoMore()
    {
        ShownSummary shown;
        shown.load(everyAction());
        const QFontMetrics metrics(shown.summary->font());
        int widest = 0;
        for (int row = 0; row < shown.summary->rowCount(); ++row)
            widest = qMax(widest, metrics.horizontalAdvance(shown.summary->item(row, 0)->text()));
        QVERIFY(shown.summary->columnWidth(0) >= widest);
        QVERIFY(shown.summary->columnWidth(0) <= widest + 12);
    }

    void aTitleThatIsTooLongLeavesHalfToTheDetails()
    {
        ShownSummary shown;
        shown.load(QStringLiteral("<activity id=\"copy\" name=\"%1\"/>").arg(longWord()));
        QVERIFY(shown.summary->columnWidth(1) >= shown.summary->viewport()->width() / 2);
        verifyEveryTextFits(shown, shown.window.width());
    }

    void rowsAreNoHigherThanTheirTexts()
    {
        ShownSummary shown;
        shown.window.resize(1500, 600);
        shown.load(QStringLiteral("<activity id=\"copy\" name=\"Copy 1\"/>"));
        const int line = QFontMetrics(shown.summary->font()).height();
        QVERIFY(shown.summary->rowHeight(0) < 3 * line);
        QVERIFY(shown.summary->rowHeight(1) <= 5 * line);
    }

    void theHeightIsSixMoreThanTheRows()
    {
        KRXSummaryWidget empty(nullptr);
        QCOMPARE(empty.height(), 6);
        ShownSummary shown;
        shown.load(QStringLiteral("<activity id=\"copy\" name=\"Copy 1\"/>"));
        QVERIFY(shown.heightOfRows() > 0);
        QCOMPARE(shown.summary->height(), 6 + shown.heightOfRows());
    }

    void aClearedSummaryHasTheHeightOfNoRows()
    {
        ShownSummary shown;
        shown.load(everyAction());
        shown.summary->clear();
        shown.summary->setRowCount(0);
        QCOMPARE(shown.summary->rowCount(), 0);
        QCOMPARE(shown.summary->height(), 6);
    }

    void theSectionIsLaidOutAtOnce()
    {
        ShownSummary shown;
        shown.load(QString());
        QVERIFY(shown.section->getContentHeight() >= shown.summary->height());
        shown.load(everyAction());
        // Without any turn of the event loop.
        QVERIFY(shown.section->getContentHeight() >= shown.summary->height());
        shown.load(QString());
        QVERIFY(shown.section->getContentHeight() <= shown.summary->height() + 6);
    }

    void theSummaryIsOnlyRead()
    {
        ShownSummary shown;
        shown.load(everyAction());
        QCOMPARE(shown.summary->editTriggers(), QAbstractItemView::NoEditTriggers);
        const QPoint cell = shown.summary->visualItemRect(shown.summary->item(2, 1)).center();
        QTest::mouseClick(shown.summary->viewport(), Qt::LeftButton, {}, cell);
        QTest::mouseDClick(shown.summary->viewport(), Qt::LeftButton, {}, cell);
        QTest::keyClick(shown.summary, Qt::Key_F2);
        QVERIFY(!shown.summary->findChild<QLineEdit*>());
        QVERIFY(shown.summary->selectedItems().isEmpty());
    }

    void theModelKeepsItsPromises()
    {
        ShownSummary shown;
        const QAbstractItemModelTester tester(shown.summary->model(),
                                              QAbstractItemModelTester::FailureReportingMode::QtTest);
        shown.load(everyAction());
        shown.load(QString());
        shown.summary->clear();
        shown.summary->setRowCount(0);
        QCOMPARE(shown.summary->rowCount(), 0);
    }
};

QTEST_MAIN(TestSummaryLayout)
#include "test_summary_layout.moc"
