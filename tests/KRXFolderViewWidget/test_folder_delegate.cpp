#include "FolderViewFixture.h"
#include "HostQtShell.h"
#include "KRXFolderItemDelegate.h"
#include "KRXTest.h"

#include <QImage>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QTest>

using View = KRXFolderViewWidget;

namespace {

/// A cell painted alone on white, larger than it need be.
class Cell
{
public:
    Cell(const FolderViewFixture& fixture, int column)
        : m_view(*fixture.view)
        , m_index(m_view.model()->index(0, column))
    {
        option.initFrom(&m_view);
        option.state = QStyle::State_Enabled | QStyle::State_Active | QStyle::State_Item;
        option.widget = &m_view;
        option.rect = QRect(0, 0, 180, 22);
        option.displayAlignment = Qt::AlignLeft | Qt::AlignVCenter;
        option.decorationSize = QSize(16, 16);
        option.decorationPosition = QStyleOptionViewItem::Left;
        option.decorationAlignment = Qt::AlignCenter;
        option.showDecorationSelected = true;
    }

    QImage paint() const
    {
        QImage image(option.rect.size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::white);
        QPainter painter(&image);
        m_view.itemDelegate()->paint(&painter, option, m_index);
        return image;
    }

    /// Where the drop-down's arrow goes.
    QRect arrow() const
    {
        QStyleOptionComboBox box;
        box.QStyleOption::operator=(option);
        return m_view.style()->subControlRect(QStyle::CC_ComboBox, &box, QStyle::SC_ComboBoxArrow, &m_view);
    }

    QStyleOptionViewItem option;

private:
    View& m_view;
    QModelIndex m_index;
};

bool isDarkRed(QRgb pixel)
{
    return qRed(pixel) >= 110 && qRed(pixel) <= 150 && qGreen(pixel) < 40 && qBlue(pixel) < 40;
}

template <class Predicate>
int countPixels(const QImage& image, const QRect& area, Predicate predicate)
{
    int count = 0;
    const QRect room = area.intersected(image.rect());
    for (int y = room.top(); y <= room.bottom(); ++y) {
        for (int x = room.left(); x <= room.right(); ++x)
            count += predicate(image.pixel(x, y)) ? 1 : 0;
    }
    return count;
}

int inked(const QImage& image, const QRect& area)
{
    return countPixels(image, area, [](QRgb pixel) { return pixel != qRgb(255, 255, 255); });
}

int darkRed(const QImage& image, const QRect& area)
{
    return countPixels(image, area, isDarkRed);
}

/// The rightmost column that is not white.
int lastInk(const QImage& image)
{
    for (int x = image.width() - 1; x >= 0; --x) {
        if (inked(image, QRect(x, 0, 1, image.height())) > 0)
            return x;
    }
    return -1;
}

constexpr int kIconEdge = 22;

} // namespace

class TestFolderDelegate : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void acquireCellOfNoClipsIsEmpty();
    void acquireCellDrawsTheIconOfItsState_data();
    void acquireCellDrawsTheIconOfItsState();
    void folderThatExistsIsInTheTextColour();
    void missingFolderIsDarkRedInIconAndText();
    void missingFolderStaysDarkRedWhenSelected();
    void selectedFolderIsInTheHighlightedTextColour();
    void disabledFolderIsFainter();
    void inactiveFolderUsesTheInactiveColours();
    void longFolderNameIsElided();
    void editedCellHasARectangle();
    void focusedCellHasAFrame_data();
    void focusedCellHasAFrame();
    void profileCellHasAnArrow();
    void arrowIsPressedWhenSunkenOrOn();
    void disabledArrowIsFainter();
    void profileTextEndsBeforeTheArrow();
    void profileTextStartsAfterTheArrowFromRightToLeft();
    void missingFolderDoesNotColourTheProfile();
    void otherColumnsArePaintedAsEver();
    void darkSkinTintsTheFolderIcon();
    void darkSkinTintsTheArrow();
    void selectedProfileHasItsPanelAndHighlightedText();
    void editedProfileHasARectangle();
    void bareHostsPicturesAreDrawnByHand_data();
    void bareHostsPicturesAreDrawnByHand();
    void bareHostsStatesLookDifferent();
    void bareHostsFolderHasTheStylesIcon();

private:
    std::unique_ptr<FolderViewFixture> f;
};

void TestFolderDelegate::init()
{
    StandInHost::setSkin(StandInHost::kLightSkin);
    f = std::make_unique<FolderViewFixture>();
    f->service.folders = {{"a"_s, "/media/folder"_s, "p1"_s}};
    f->view->fillView();
}

void TestFolderDelegate::cleanup()
{
    f.reset();
}

void TestFolderDelegate::acquireCellOfNoClipsIsEmpty()
{
    const Cell cell(*f, View::kIdxIngestColumn);
    QCOMPARE(inked(cell.paint(), cell.option.rect), 0);
}

void TestFolderDelegate::acquireCellDrawsTheIconOfItsState_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<QString>("icon");
    QTest::newRow("ready") << 1 << "IngestReady.png"_s;
    QTest::newRow("in progress") << 2 << "IngestInProgress.png"_s;
}

void TestFolderDelegate::acquireCellDrawsTheIconOfItsState()
{
    QFETCH(int, state);
    QFETCH(QString, icon);
    View::setIngestState(f->row("a"_s), state);
    const Cell cell(*f, View::kIdxIngestColumn);
    QImage expected(cell.option.rect.size(), QImage::Format_ARGB32_Premultiplied);
    expected.fill(Qt::white);
    {
        QPainter painter(&expected);
        HostQtShell::drawSkinnedIcon(&painter, cell.option.rect, icon, "icons/KRX"_s, {}, 255);
    }
    QVERIFY(inked(expected, expected.rect()) > 20);
    QCOMPARE(cell.paint(), expected);
}

void TestFolderDelegate::folderThatExistsIsInTheTextColour()
{
    const Cell cell(*f, View::kIdxFolderColumn);
    const QImage image = cell.paint();
    QVERIFY(inked(image, QRect(0, 0, kIconEdge, 22)) > 20);
    QVERIFY(inked(image, QRect(kIconEdge, 0, 100, 22)) > 20);
    QCOMPARE(darkRed(image, image.rect()), 0);
}

void TestFolderDelegate::missingFolderIsDarkRedInIconAndText()
{
    f->view->verifyFoldersPath();
    const Cell cell(*f, View::kIdxFolderColumn);
    const QImage image = cell.paint();
    QVERIFY(darkRed(image, QRect(0, 0, kIconEdge, 22)) > 5);
    QVERIFY(darkRed(image, QRect(kIconEdge, 0, 100, 22)) > 5);
}

void TestFolderDelegate::missingFolderStaysDarkRedWhenSelected()
{
    f->view->verifyFoldersPath();
    Cell cell(*f, View::kIdxFolderColumn);
    cell.option.state |= QStyle::State_Selected;
    const QImage image = cell.paint();
    QVERIFY(darkRed(image, QRect(kIconEdge, 0, 100, 22)) > 5);
}

void TestFolderDelegate::selectedFolderIsInTheHighlightedTextColour()
{
    Cell cell(*f, View::kIdxFolderColumn);
    cell.option.state |= QStyle::State_Selected;
    cell.option.palette.setColor(QPalette::HighlightedText, Qt::green);
    const QImage image = cell.paint();
    QVERIFY(countPixels(image, QRect(kIconEdge, 0, 100, 22),
                        [](QRgb p) { return qGreen(p) > 200 && qRed(p) < 80 && qBlue(p) < 80; }) > 5);
    // The panel behind is the style's highlight.
    QCOMPARE(image.pixelColor(170, 3), cell.option.palette.color(QPalette::Active, QPalette::Highlight));
}

void TestFolderDelegate::disabledFolderIsFainter()
{
    const auto darkness = [](const QImage& image, const QRect& area) {
        int sum = 0;
        for (int y = area.top(); y <= area.bottom(); ++y) {
            for (int x = area.left(); x <= area.right(); ++x)
                sum += 255 - qGray(image.pixel(x, y));
        }
        return sum;
    };
    Cell cell(*f, View::kIdxFolderColumn);
    const QImage enabled = cell.paint();
    cell.option.state &= ~QStyle::State_Enabled;
    cell.option.palette.setCurrentColorGroup(QPalette::Disabled);
    const QImage disabled = cell.paint();
    const QRect icon(0, 0, kIconEdge, 22);
    const QRect text(kIconEdge, 0, 100, 22);
    QVERIFY(darkness(disabled, icon) > 0);
    QVERIFY(darkness(disabled, icon) < darkness(enabled, icon) * 3 / 4);
    QVERIFY(darkness(disabled, text) < darkness(enabled, text));
}

void TestFolderDelegate::inactiveFolderUsesTheInactiveColours()
{
    Cell cell(*f, View::kIdxFolderColumn);
    cell.option.state &= ~QStyle::State_Active;
    cell.option.palette.setColor(QPalette::Inactive, QPalette::Text, Qt::magenta);
    const QImage image = cell.paint();
    QVERIFY(countPixels(image, QRect(kIconEdge, 0, 100, 22),
                        [](QRgb p) { return qRed(p) > 200 && qBlue(p) > 200 && qGreen(p) < 80; }) > 5);
}

void TestFolderDelegate::longFolderNameIsElided()
{
    Cell cell(*f, View::kIdxFolderColumn);
    cell.option.rect.setWidth(60);
    f->row("a"_s)->setText(View::kIdxFolderColumn, QString(300, QLatin1Char('W')));
    const QImage narrow = cell.paint();
    QVERIFY(inked(narrow, QRect(kIconEdge, 0, 38, 22)) > 0);
    // The margin at the end of the text stays free.
    QVERIFY(lastInk(narrow) < 59);
    cell.option.rect.setWidth(24);
    cell.paint();
}

void TestFolderDelegate::editedCellHasARectangle()
{
    Cell cell(*f, View::kIdxFolderColumn);
    const QImage plain = cell.paint();
    cell.option.state |= QStyle::State_Editing;
    const QImage edited = cell.paint();
    QVERIFY(plain != edited);
    QStyleOptionViewItem option = cell.option;
    option.text = "folder"_s;
    option.features = QStyleOptionViewItem::HasDisplay | QStyleOptionViewItem::HasDecoration;
    const QRect text = f->view->style()->subElementRect(QStyle::SE_ItemViewItemText, &option, f->view.get());
    const QRgb frame = cell.option.palette.color(QPalette::Active, QPalette::Text).rgb();
    QCOMPARE(edited.pixel(text.left() + 40, text.top()), frame);
    QCOMPARE(edited.pixel(text.left() + 40, text.bottom()), frame);
}

void TestFolderDelegate::focusedCellHasAFrame_data()
{
    QTest::addColumn<int>("column");
    QTest::newRow("folder") << View::kIdxFolderColumn;
    QTest::newRow("profile") << View::kIdxProfileColumn;
}

void TestFolderDelegate::focusedCellHasAFrame()
{
    QFETCH(int, column);
    Cell cell(*f, column);
    const QImage plain = cell.paint();
    cell.option.state |= QStyle::State_HasFocus;
    QVERIFY(cell.paint() != plain);
}

void TestFolderDelegate::profileCellHasAnArrow()
{
    const Cell cell(*f, View::kIdxProfileColumn);
    const QImage image = cell.paint();
    QVERIFY(inked(image, cell.arrow()) > 5);
    QVERIFY(inked(image, QRect(0, 0, 100, 22)) > 20);
}

void TestFolderDelegate::arrowIsPressedWhenSunkenOrOn()
{
    Cell cell(*f, View::kIdxProfileColumn);
    const QRect arrow = cell.arrow();
    const QImage plain = cell.paint().copy(arrow);
    cell.option.state |= QStyle::State_Sunken;
    const QImage sunken = cell.paint().copy(arrow);
    cell.option.state &= ~QStyle::State_Sunken;
    cell.option.state |= QStyle::State_On;
    const QImage on = cell.paint().copy(arrow);
    QVERIFY(sunken != plain);
    QCOMPARE(on, sunken);
}

void TestFolderDelegate::disabledArrowIsFainter()
{
    Cell cell(*f, View::kIdxProfileColumn);
    const QRect arrow = cell.arrow();
    const auto darkest = [&arrow](const QImage& image) {
        int value = 255;
        for (int y = arrow.top(); y <= arrow.bottom(); ++y) {
            for (int x = arrow.left(); x <= arrow.right(); ++x)
                value = qMin(value, qGray(image.pixel(x, y)));
        }
        return value;
    };
    const int enabled = darkest(cell.paint());
    cell.option.state &= ~QStyle::State_Enabled;
    QVERIFY(darkest(cell.paint()) > enabled + 40);
}

void TestFolderDelegate::profileTextEndsBeforeTheArrow()
{
    View::setProfileName(f->row("a"_s), QString(300, QLatin1Char('W')));
    const Cell cell(*f, View::kIdxProfileColumn);
    const QRect arrow = cell.arrow();
    QImage withText = cell.paint();
    View::setProfileName(f->row("a"_s), QString());
    const QImage without = cell.paint();
    // Right of the text there is nothing but the arrow.
    const QRect rest(arrow.left(), 0, cell.option.rect.width() - arrow.left(), 22);
    QCOMPARE(withText.copy(rest), without.copy(rest));
    QVERIFY(withText.copy(QRect(0, 0, arrow.left(), 22)) != without.copy(QRect(0, 0, arrow.left(), 22)));
}

void TestFolderDelegate::profileTextStartsAfterTheArrowFromRightToLeft()
{
    View::setProfileName(f->row("a"_s), QString(300, QLatin1Char('W')));
    Cell cell(*f, View::kIdxProfileColumn);
    cell.option.direction = Qt::RightToLeft;
    const QRect arrow = cell.arrow();
    QVERIFY(arrow.left() < 90);
    const QImage withText = cell.paint();
    View::setProfileName(f->row("a"_s), QString());
    const QImage without = cell.paint();
    const QRect start(0, 0, arrow.right() + 1, 22);
    QCOMPARE(withText.copy(start), without.copy(start));
}

void TestFolderDelegate::missingFolderDoesNotColourTheProfile()
{
    f->view->verifyFoldersPath();
    const Cell cell(*f, View::kIdxProfileColumn);
    const QImage image = cell.paint();
    QCOMPARE(darkRed(image, image.rect()), 0);
}

void TestFolderDelegate::otherColumnsArePaintedAsEver()
{
    for (const int column : {View::kIdxActiveColumn, View::kIdxBinColumn, View::kIdxPathColumn}) {
        const Cell cell(*f, column);
        QStyledItemDelegate standard;
        QImage expected(cell.option.rect.size(), QImage::Format_ARGB32_Premultiplied);
        expected.fill(Qt::white);
        {
            QPainter painter(&expected);
            standard.paint(&painter, cell.option, f->view->model()->index(0, column));
        }
        QCOMPARE(cell.paint(), expected);
    }
}

void TestFolderDelegate::darkSkinTintsTheFolderIcon()
{
    const Cell cell(*f, View::kIdxFolderColumn);
    const QImage light = cell.paint().copy(0, 0, kIconEdge, 22);
    StandInHost::setSkin(StandInHost::kDarkSkin);
    const QImage dark = Cell(*f, View::kIdxFolderColumn).paint().copy(0, 0, kIconEdge, 22);
    QVERIFY(light != dark);
}

void TestFolderDelegate::darkSkinTintsTheArrow()
{
    const Cell cell(*f, View::kIdxProfileColumn);
    const QRect arrow = cell.arrow();
    const auto expected = [&] {
        QImage image(cell.option.rect.size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::white);
        QPainter painter(&image);
        HostQtShell::drawSkinnedIcon(&painter, arrow, "Arrows/popup_arrow.png"_s, "icons"_s,
                                     HostQtShell::iconTintColors(), 255);
        return image.copy(arrow);
    };
    const QImage light = expected();
    QCOMPARE(cell.paint().copy(arrow), light);
    StandInHost::setSkin(StandInHost::kDarkSkin);
    QVERIFY(expected() != light);
    QCOMPARE(Cell(*f, View::kIdxProfileColumn).paint().copy(arrow), expected());
}

void TestFolderDelegate::selectedProfileHasItsPanelAndHighlightedText()
{
    Cell cell(*f, View::kIdxProfileColumn);
    cell.option.state |= QStyle::State_Selected;
    cell.option.palette.setColor(QPalette::HighlightedText, Qt::green);
    const QImage image = cell.paint();
    QVERIFY(countPixels(image, QRect(0, 0, 100, 22),
                        [](QRgb p) { return qGreen(p) > 200 && qRed(p) < 80 && qBlue(p) < 80; }) > 5);
    QCOMPARE(image.pixelColor(140, 2), cell.option.palette.color(QPalette::Active, QPalette::Highlight));
}

void TestFolderDelegate::editedProfileHasARectangle()
{
    Cell cell(*f, View::kIdxProfileColumn);
    cell.option.state |= QStyle::State_Editing;
    const QImage edited = cell.paint();
    QStyleOptionViewItem option = cell.option;
    option.text = "Proxy"_s;
    option.features = QStyleOptionViewItem::HasDisplay;
    QRect text = f->view->style()->subElementRect(QStyle::SE_ItemViewItemText, &option, f->view.get());
    text.setRight(qMin(text.right(), cell.arrow().left() - 1));
    const QRgb frame = cell.option.palette.color(QPalette::Active, QPalette::Text).rgb();
    for (const QPoint& edge : {QPoint(text.left() + 60, text.top()), QPoint(text.left() + 60, text.bottom()),
                               QPoint(text.left(), 4), QPoint(text.right(), 4)})
        QCOMPARE(edited.pixel(edge), frame);
}

void TestFolderDelegate::bareHostsPicturesAreDrawnByHand_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("state");
    QTest::addColumn<bool>("isDisabled");
    for (const bool isDisabled : {false, true}) {
        const char* how = isDisabled ? "disabled" : "enabled";
        QTest::addRow("ready, %s", how) << View::kIdxIngestColumn << 1 << isDisabled;
        QTest::addRow("in progress, %s", how) << View::kIdxIngestColumn << 2 << isDisabled;
        QTest::addRow("arrow, %s", how) << View::kIdxProfileColumn << 0 << isDisabled;
    }
}

void TestFolderDelegate::bareHostsPicturesAreDrawnByHand()
{
    QFETCH(int, column);
    QFETCH(int, state);
    QFETCH(bool, isDisabled);
    View::setIngestState(f->row("a"_s), state);
    Cell cell(*f, column);
    if (isDisabled)
        cell.option.state &= ~QStyle::State_Enabled;
    cell.option.palette.setColor(QPalette::Text, QColor(0, 0, 200));
    StandInHost::setBare(true);
    const QImage image = cell.paint();
    StandInHost::setBare(false);
    const QRect area = column == View::kIdxProfileColumn ? cell.arrow() : cell.option.rect;
    QVERIFY(countPixels(image, area, [](QRgb p) { return qBlue(p) - qRed(p) > 60; }) > 5);
}

void TestFolderDelegate::bareHostsStatesLookDifferent()
{
    StandInHost::setBare(true);
    View::setIngestState(f->row("a"_s), 1);
    const QImage ready = Cell(*f, View::kIdxIngestColumn).paint();
    View::setIngestState(f->row("a"_s), 2);
    const QImage inProgress = Cell(*f, View::kIdxIngestColumn).paint();
    View::setIngestState(f->row("a"_s), 0);
    const QImage none = Cell(*f, View::kIdxIngestColumn).paint();
    StandInHost::setBare(false);
    QVERIFY(ready != inProgress);
    QCOMPARE(inked(none, none.rect()), 0);
}

void TestFolderDelegate::bareHostsFolderHasTheStylesIcon()
{
    StandInHost::setBare(true);
    f->view = std::make_unique<View>(nullptr);
    f->view->fillView();
    StandInHost::setBare(false);
    QVERIFY(!f->row("a"_s)->icon(View::kIdxFolderColumn).isNull());
    const QImage image = Cell(*f, View::kIdxFolderColumn).paint();
    QVERIFY(inked(image, QRect(0, 0, kIconEdge, 22)) > 20);
}

QTEST_MAIN(TestFolderDelegate)
#include "test_folder_delegate.moc"
