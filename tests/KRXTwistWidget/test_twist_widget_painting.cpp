#include "ArrowButton.h"
#include "EventCounter.h"
#include "HostQtShell.h"
#include "KRXTwistWidget.h"
#include "StandInHost.h"

#include <QImage>
#include <QTest>
#include <QVBoxLayout>

#include <vector>

namespace {

constexpr QSize kSize(40, 25);
const QColor kUntouched(Qt::magenta);

QColor odd()
{
    return HostQtShell::paletteColor(QStringLiteral("BackgroundOddRowActiveColor"));
}

QColor even()
{
    return HostQtShell::paletteColor(QStringLiteral("BackgroundEvenRowActiveColor"));
}

QColor indicator()
{
    return HostQtShell::highlightPaletteColor(QStringLiteral("MenuSelectionColor"));
}

/// A section that a row is dragged over.
class DropTarget : public KRXTwistWidget
{
public:
    using KRXTwistWidget::KRXTwistWidget;
    bool showDropIndicator() const override { return m_dropPosition != NoDrop; }
    void setDropPosition(int position) { m_dropPosition = position; }
};

/// What the section itself paints, without its children.
QImage painted(KRXTwistWidget& section)
{
    QImage image(section.size(), QImage::Format_RGB32);
    image.fill(kUntouched);
    section.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image;
}

bool isAll(const QImage& image, const QColor& color)
{
    QImage expected(image.size(), image.format());
    expected.fill(color);
    return image == expected;
}

/// The rows of \a image that hold \a color from the left to the right edge.
QList<int> fullRows(const QImage& image, const QColor& color)
{
    QList<int> rows;
    for (int y = 0; y < image.height(); ++y) {
        bool isFull = true;
        for (int x = 0; x < image.width(); ++x)
            isFull = isFull && image.pixelColor(x, y) == color;
        if (isFull)
            rows << y;
    }
    return rows;
}

/// A column of sections in a layout.
struct Column
{
    explicit Column(int count)
    {
        auto* layout = new QVBoxLayout(&parent);
        for (int i = 0; i < count; ++i) {
            sections.push_back(new KRXTwistWidget(nullptr, QStringLiteral("Row")));
            layout->addWidget(sections.back());
        }
        parent.resize(200, 200);
        parent.show();
        QCoreApplication::processEvents();
    }

    QWidget parent;
    std::vector<KRXTwistWidget*> sections;
};

} // namespace

class TestTwistWidgetPainting : public QObject
{
    Q_OBJECT

private slots:
    void bareHostsSectionsHaveThePalettesColours();
    void init() { StandInHost::setSkin(StandInHost::kLightSkin); }

    void theSkinHasDifferentColorsForOddAndEvenRows()
    {
        QVERIFY(odd().isValid() && even().isValid() && indicator().isValid());
        QVERIFY(odd() != even());
        const QColor light = odd();
        StandInHost::setSkin(StandInHost::kDarkSkin);
        QVERIFY(odd() != light);
    }

    void theIndexInTheParentsLayoutDecidesTheColor()
    {
        Column column(4);
        QVERIFY(isAll(painted(*column.sections[0]), even()));
        QVERIFY(isAll(painted(*column.sections[1]), odd()));
        QVERIFY(isAll(painted(*column.sections[2]), even()));
        QVERIFY(isAll(painted(*column.sections[3]), odd()));
    }

    void theIndexFollowsARowThatMoves()
    {
        Column column(3);
        auto* layout = static_cast<QVBoxLayout*>(column.parent.layout());
        layout->insertWidget(1, column.sections[0]);
        QVERIFY(isAll(painted(*column.sections[0]), odd()));
        QVERIFY(isAll(painted(*column.sections[1]), even()));
    }

    void aSectionWithoutAParentCountsAsEven()
    {
        KRXTwistWidget section(nullptr, QString());
        section.resize(kSize);
        QVERIFY(isAll(painted(section), even()));
    }

    void aSectionInAParentWithoutALayoutCountsAsEven()
    {
        QWidget parent;
        KRXTwistWidget section(&parent, QString());
        section.resize(kSize);
        QVERIFY(isAll(painted(section), even()));
    }

    void aSectionInALayoutInsideTheParentsLayoutCountsAsEven()
    {
        QWidget parent;
        auto* outer = new QVBoxLayout(&parent);
        auto* inner = new QVBoxLayout;
        outer->addLayout(inner);
        auto* section = new KRXTwistWidget(&parent, QString());
        inner->addWidget(section);
        QCOMPARE(outer->indexOf(section), -1);
        parent.resize(200, 200);
        parent.show();
        QCoreApplication::processEvents();
        QVERIFY(isAll(painted(*section), even()));
    }

    void aTransparentSectionPaintsNothing()
    {
        DropTarget section(nullptr, QString());
        section.resize(kSize);
        section.setUseTransparentBackground(true);
        section.setSelected(true);
        section.setDropPosition(1);
        QVERIFY(isAll(painted(section), kUntouched));
        section.setUseTransparentBackground(false);
        QVERIFY(!isAll(painted(section), kUntouched));
    }

    void aSelectedSectionIsLighterInLightSkinsAndDarkerInDarkOnes_data()
    {
        QTest::addColumn<int>("skin");
        QTest::addColumn<bool>("lighter");
        QTest::newRow("first light skin") << 0 << true;
        QTest::newRow("last light skin") << 3 << true;
        QTest::newRow("first dark skin") << 4 << false;
        QTest::newRow("later dark skin") << 7 << false;
    }

    void aSelectedSectionIsLighterInLightSkinsAndDarkerInDarkOnes()
    {
        QFETCH(int, skin);
        QFETCH(bool, lighter);
        StandInHost::setSkin(skin);
        QCOMPARE(HostQtShell::currentSkinIndex(), skin);
        Column column(2);
        for (KRXTwistWidget* section : column.sections)
            section->setSelected(true);
        const auto expected = [lighter](const QColor& color) {
            return lighter ? color.lighter(125) : color.darker(125);
        };
        QVERIFY(isAll(painted(*column.sections[0]), expected(even())));
        QVERIFY(isAll(painted(*column.sections[1]), expected(odd())));
        QVERIFY(expected(odd()) != odd());
    }

    void aPlainSectionShowsNoDropIndicatorWhateverItsDropPosition()
    {
        class Plain : public KRXTwistWidget
        {
        public:
            using KRXTwistWidget::KRXTwistWidget;
            void setDropPosition(int position) { m_dropPosition = position; }
        };
        Plain section(nullptr, QString());
        section.resize(kSize);
        section.setDropPosition(1);
        QVERIFY(!section.showDropIndicator());
        QVERIFY(isAll(painted(section), even()));
    }

    void theDropIndicatorIsAThreePixelLineAcrossTheTopOrTheBottom()
    {
        // The pen lies on the edges of the rectangle that is 3 pixels lower and higher: on row 3 and, in a
        // section 25 pixels high, on row 21.
        DropTarget section(nullptr, QString());
        section.resize(kSize);
        // Nothing is dragged over a new section.
        QVERIFY(isAll(painted(section), even()));
        section.setDropPosition(1);
        QCOMPARE(fullRows(painted(section), indicator()), QList<int>({2, 3, 4}));
        section.setDropPosition(2);
        QCOMPARE(fullRows(painted(section), indicator()), QList<int>({20, 21, 22}));
        // Every position but 2 is the top.
        section.setDropPosition(3);
        QCOMPARE(fullRows(painted(section), indicator()), QList<int>({2, 3, 4}));
        QCOMPARE(painted(section).pixelColor(0, 0), even());
        section.setDropPosition(0);
        QVERIFY(isAll(painted(section), even()));
    }

    void theDropIndicatorHasTheColorOfTheUsersHighlight()
    {
        DropTarget section(nullptr, QString());
        section.resize(kSize);
        section.setDropPosition(1);
        StandInHost::setHighlightColor(QColor(200, 20, 60));
        const QList<int> rows = fullRows(painted(section), QColor(200, 20, 60));
        StandInHost::setHighlightColor(QColor());
        QCOMPARE(rows, QList<int>({2, 3, 4}));
    }

    void flagsDoNotRepaintByThemselves()
    {
        class Counting : public KRXTwistWidget
        {
        public:
            using KRXTwistWidget::KRXTwistWidget;
            int paints = 0;

        protected:
            void paintEvent(QPaintEvent* event) override
            {
                ++paints;
                KRXTwistWidget::paintEvent(event);
            }
        };
        Counting section(nullptr, QString());
        section.show();
        QVERIFY(QTest::qWaitForWindowExposed(&section));
        QCoreApplication::processEvents();
        section.paints = 0;
        section.setSelected(true);
        section.setUseTransparentBackground(true);
        QVERIFY(section.isSelected());
        QVERIFY(section.isUseTransparentBackground());
        QCoreApplication::processEvents();
        QCOMPARE(section.paints, 0);
        section.update();
        QTRY_VERIFY(section.paints > 0);
    }

    void openingAndClosingRepaintsTheArrow()
    {
        // Nothing in the body, so that no change of size repaints the section as a whole.
        class Flat : public KRXTwistWidget
        {
        public:
            Flat()
                : KRXTwistWidget(nullptr, QString())
            {
                bodyLayout()->setContentsMargins(0, 0, 0, 0);
            }
        };
        Flat section;
        section.show();
        QVERIFY(QTest::qWaitForWindowExposed(&section));
        auto* arrow = section.findChild<ArrowButton*>();
        for (const bool open : {true, false}) {
            QCoreApplication::processEvents();
            const KRXTest::EventCounter paints(arrow, QEvent::Paint);
            section.setOpen(open);
            QTRY_VERIFY(paints.count() > 0);
        }
    }
};

void TestTwistWidgetPainting::bareHostsSectionsHaveThePalettesColours()
{
    Column column(2);
    QPalette palette = column.parent.palette();
    palette.setColor(QPalette::Window, QColor(240, 230, 220));
    palette.setColor(QPalette::AlternateBase, QColor(220, 230, 240));
    palette.setColor(QPalette::Highlight, QColor(20, 120, 20));
    column.parent.setPalette(palette);
    DropTarget target(nullptr, QString());
    target.setPalette(palette);
    target.resize(kSize);
    target.setDropPosition(1);
    StandInHost::setBare(true);
    const QImage even = painted(*column.sections[0]);
    const QImage odd = painted(*column.sections[1]);
    const QImage drop = painted(target);
    StandInHost::setBare(false);
    QVERIFY(isAll(even, QColor(240, 230, 220)));
    QVERIFY(isAll(odd, QColor(220, 230, 240)));
    QVERIFY(!fullRows(drop, QColor(20, 120, 20)).isEmpty());
}

QTEST_MAIN(TestTwistWidgetPainting)
#include "test_twist_widget_painting.moc"
