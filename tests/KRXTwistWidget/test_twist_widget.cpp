#include "ArrowButton.h"
#include "KRXProfilesWindow.h"
#include "KRXTwistWidget.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>

#include <memory>
#include <utility>

namespace {

/// A section whose parts a test may look at.
class Section : public KRXTwistWidget
{
public:
    explicit Section(const QString& title = QStringLiteral("Title"), QWidget* parent = nullptr)
        : KRXTwistWidget(parent, title)
    {
    }

    ArrowButton* arrow() const { return m_arrow; }
    QWidget* titleWidget() const { return m_titleWidget; }
    QHBoxLayout* titleLayout() const { return static_cast<QHBoxLayout*>(m_titleWidget->layout()); }
    QWidget* body() const { return m_bodyWidget; }
    QList<QWidget*> bodyWidgets() const
    {
        QList<QWidget*> widgets;
        for (int i = 0; i < bodyLayout()->count(); ++i)
            widgets << bodyLayout()->itemAt(i)->widget();
        return widgets;
    }
    using KRXTwistWidget::bodyLayout;
};

void click(ArrowButton* arrow)
{
    QTest::mouseClick(arrow, Qt::LeftButton);
}

/// Whether the body is shown as far as the section is concerned (also while nothing is on the screen).
bool showsBody(const Section& section)
{
    return !section.body()->isHidden();
}

/// Open sections, one inside the other, inside a closed one in a scroll area.
struct Nest
{
    explicit Nest(int depth)
    {
        auto* content = new QWidget;
        auto* column = new QVBoxLayout(content);
        outer = new Section;
        column->addWidget(outer);
        column->addStretch();
        area.setWidgetResizable(true);
        area.setWidget(content);
        innermost = outer;
        for (int i = 0; i < depth; ++i) {
            innermost = innermost->addSubTW(QString::number(i));
            innermost->setOpen(true);
        }
    }

    QScrollArea area;
    KRXTwistWidget* outer = nullptr;
    KRXTwistWidget* innermost = nullptr;
};

/// Counts the layout requests of all widgets.
class LayoutRequests : public QObject
{
public:
    LayoutRequests() { qApp->installEventFilter(this); }
    /// How many there were since the last call.
    int take() { return std::exchange(m_count, 0); }

    bool eventFilter(QObject*, QEvent* event) override
    {
        m_count += event->type() == QEvent::LayoutRequest ? 1 : 0;
        return false;
    }

private:
    int m_count = 0;
};

} // namespace

class TestTwistWidget : public QObject
{
    Q_OBJECT

private slots:
    void aNewSectionIsClosed()
    {
        const Section section;
        QVERIFY(!section.isOpen());
        QVERIFY(!section.isSelected());
        QVERIFY(!section.isUseTransparentBackground());
        QVERIFY(!section.showDropIndicator());
        QVERIFY(!showsBody(section));
        QCOMPARE(int(section.arrow()->getButtonState()), 1);
    }

    void theSectionIsLaidOutWithoutGaps()
    {
        const Section section;
        const auto* layout = qobject_cast<QVBoxLayout*>(section.layout());
        QVERIFY(layout);
        QCOMPARE(layout->sizeConstraint(), QLayout::SetMinAndMaxSize);
        QCOMPARE(layout->contentsMargins(), QMargins());
        QCOMPARE(layout->spacing(), 0);
        QCOMPARE(section.contentsMargins(), QMargins());
        QCOMPARE(layout->count(), 2);
        QCOMPARE(layout->itemAt(0)->widget(), section.titleWidget());
        QCOMPARE(layout->itemAt(1)->widget(), section.body());
    }

    void theTitleBarHasArrowLabelAndSpacer()
    {
        const Section section(QStringLiteral("Bins"));
        QCOMPARE(section.titleWidget()->minimumHeight(), 25);
        QCOMPARE(section.titleWidget()->maximumHeight(), 25);
        QCOMPARE(section.arrow()->minimumSize(), QSize(10, 10));
        QCOMPARE(section.arrow()->maximumSize(), QSize(10, 10));
        QCOMPARE(section.arrow()->parentWidget(), section.titleWidget());
        const QHBoxLayout* layout = section.titleLayout();
        QCOMPARE(layout->contentsMargins(), QMargins(3, 0, 3, 0));
        QCOMPARE(layout->spacing(), 5);
        QCOMPARE(layout->count(), 3);
        QCOMPARE(layout->itemAt(0)->widget(), section.arrow());
        const auto* label = qobject_cast<QLabel*>(layout->itemAt(1)->widget());
        QVERIFY(label);
        QCOMPARE(label->text(), QStringLiteral("Bins"));
        QSpacerItem* spacer = layout->itemAt(2)->spacerItem();
        QVERIFY(spacer);
        QCOMPARE(spacer->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
        QCOMPARE(spacer->sizePolicy().verticalPolicy(), QSizePolicy::Expanding);
    }

    void aSectionWithAnEmptyTitleHasOnlyTheArrowInItsTitleBar()
    {
        const Section section((QString()));
        QCOMPARE(section.titleLayout()->count(), 1);
        QCOMPARE(section.titleLayout()->itemAt(0)->widget(), section.arrow());
        QCOMPARE(section.titleLayout()->spacing(), 0);
        QVERIFY(section.titleWidget()->findChildren<QLabel*>().isEmpty());
        QCOMPARE(section.titleWidget()->maximumHeight(), 25);
    }

    void theBodyIsIndentedByTheArrowsWidth()
    {
        const Section section;
        QCOMPARE(section.bodyLayout()->contentsMargins(), QMargins(10, 0, 3, 3));
        QCOMPARE(section.bodyLayout()->spacing(), 0);
        QCOMPARE(section.bodyLayout()->sizeConstraint(), QLayout::SetMinAndMaxSize);
    }

    void clickingTheArrowOpensAndCloses()
    {
        Section section;
        QSignalSpy resized(&section, &KRXTwistWidget::widgetWasResized);
        click(section.arrow());
        QVERIFY(section.isOpen());
        QVERIFY(showsBody(section));
        QCOMPARE(int(section.arrow()->getButtonState()), 0);
        QCOMPARE(resized.count(), 1);
        click(section.arrow());
        QVERIFY(!section.isOpen());
        QVERIFY(!showsBody(section));
        QCOMPARE(int(section.arrow()->getButtonState()), 1);
        QCOMPARE(resized.count(), 2);
    }

    void theArrowFollowsTheSectionWhenBothDisagree()
    {
        Section section;
        section.arrow()->setState(ArrowButton::Open);
        click(section.arrow());
        QVERIFY(section.isOpen());
        QCOMPARE(int(section.arrow()->getButtonState()), 0);
    }

    void setOpenOpensAndClosesAndSaysSoEveryTime()
    {
        Section section;
        QSignalSpy resized(&section, &KRXTwistWidget::widgetWasResized);
        section.setOpen(true);
        QVERIFY(section.isOpen() && showsBody(section));
        QCOMPARE(int(section.arrow()->getButtonState()), 0);
        section.setOpen(true);
        QVERIFY(section.isOpen() && showsBody(section));
        section.setOpen(false);
        QVERIFY(!section.isOpen() && !showsBody(section));
        QCOMPARE(int(section.arrow()->getButtonState()), 1);
        QCOMPARE(resized.count(), 3);
    }

    void clickingTheArrowOfADisabledSectionChangesNothing()
    {
        Section section;
        section.setEnabled(false);
        QSignalSpy resized(&section, &KRXTwistWidget::widgetWasResized);
        click(section.arrow());
        section.DoExpandColapse();
        emit section.arrow()->clicked();
        QVERIFY(!section.isOpen());
        QVERIFY(!showsBody(section));
        QCOMPARE(int(section.arrow()->getButtonState()), 1);
        QCOMPARE(resized.count(), 0);
    }

    void setOpenOnADisabledSectionOnlySetsTheFlag()
    {
        Section section;
        section.setEnabled(false);
        QSignalSpy resized(&section, &KRXTwistWidget::widgetWasResized);
        section.setOpen(true);
        QVERIFY(section.isOpen());
        QVERIFY(!showsBody(section));
        QCOMPARE(int(section.arrow()->getButtonState()), 1);
        QCOMPARE(resized.count(), 0);
        // Enabled again, the arrow goes by the flag: what counts as open is closed.
        section.setEnabled(true);
        section.DoExpandColapse();
        QVERIFY(!section.isOpen());
        QVERIFY(!showsBody(section));
    }

    void setOpenFalseOnADisabledOpenSectionLeavesTheBodyShown()
    {
        Section section;
        section.setOpen(true);
        section.setEnabled(false);
        section.setOpen(false);
        QVERIFY(!section.isOpen());
        QVERIFY(showsBody(section));
        QCOMPARE(int(section.arrow()->getButtonState()), 0);
    }

    void theArrowIsEnabledWithTheSection()
    {
        QWidget outside;
        Section section(QStringLiteral("Title"), &outside);
        section.setEnabled(false);
        QVERIFY(!section.arrow()->isEnabled());
        QVERIFY(section.arrow()->testAttribute(Qt::WA_ForceDisabled));
        section.setEnabled(true);
        QVERIFY(section.arrow()->isEnabled());
        QVERIFY(!section.arrow()->testAttribute(Qt::WA_ForceDisabled));
        outside.setEnabled(false);
        QVERIFY(!section.arrow()->isEnabled());
        outside.setEnabled(true);
        QVERIFY(section.arrow()->isEnabled());
    }

    void index0AppendsAndOtherIndexesInsert()
    {
        Section section;
        auto* first = new QLabel;
        auto* second = new QLabel;
        auto* between = new QLabel;
        auto* last = new QLabel;
        section.addWidgetToBody(first, 0);
        section.addWidgetToBody(second, 0);
        section.addWidgetToBody(between, 1);
        section.addWidgetToBody(last, 0);
        QCOMPARE(section.bodyWidgets(), QList<QWidget*>({first, between, second, last}));
        for (QWidget* widget : section.bodyWidgets())
            QCOMPARE(widget->parentWidget(), section.body());
    }

    void anIndexBehindTheEndAppends()
    {
        Section section;
        auto* first = new QLabel;
        auto* far = new QLabel;
        auto* negative = new QLabel;
        section.addWidgetToBody(first, 3);
        section.addWidgetToBody(far, 99);
        section.addWidgetToBody(negative, -1);
        QCOMPARE(section.bodyWidgets(), QList<QWidget*>({first, far, negative}));
        section.addWidgetToBody(nullptr, 0);
        QCOMPARE(section.bodyWidgets().size(), 3);
    }

    void aWidgetAddedToAnOpenSectionBecomesVisible()
    {
        Section section;
        section.setOpen(true);
        section.show();
        QVERIFY(QTest::qWaitForWindowExposed(&section));
        auto* label = new QLabel(QStringLiteral("text"));
        section.addWidgetToBody(label, 0);
        QTRY_VERIFY(label->isVisible());
    }

    void aLayoutIsAppendedToTheBody()
    {
        Section section;
        section.addWidgetToBody(new QLabel, 0);
        auto* row = new QHBoxLayout;
        auto* inside = new QLabel;
        row->addWidget(inside);
        section.addLayoutToBody(row);
        QCOMPARE(section.bodyLayout()->count(), 2);
        QCOMPARE(section.bodyLayout()->itemAt(1)->layout(), row);
        QCOMPARE(inside->parentWidget(), section.body());
    }

    void aRemovedWidgetLivesOnWithoutAParent()
    {
        Section section;
        const auto label = std::make_unique<QLabel>();
        section.addWidgetToBody(label.get(), 0);
        section.addWidgetToBody(new QLabel, 0);
        section.removeWidgetFromBody(label.get());
        QCOMPARE(label->parent(), nullptr);
        QCOMPARE(section.bodyWidgets().size(), 1);
        QVERIFY(!section.bodyWidgets().contains(label.get()));
    }

    void aWidgetThatIsNotInTheBodyIsNotRemoved()
    {
        Section section;
        QWidget elsewhere;
        auto* label = new QLabel(&elsewhere);
        section.removeWidgetFromBody(label);
        QCOMPARE(label->parentWidget(), &elsewhere);
        section.removeWidgetFromBody(section.arrow());
        QCOMPARE(section.arrow()->parentWidget(), section.titleWidget());
        section.removeWidgetFromBody(nullptr);
    }

    void addSubTWMakesAChildSectionWithThatTitle()
    {
        Section section;
        section.addWidgetToBody(new QLabel, 0);
        KRXTwistWidget* child = section.addSubTW(QStringLiteral("Inner"));
        QCOMPARE(section.bodyWidgets().constLast(), child);
        QCOMPARE(child->parentWidget(), section.body());
        QCOMPARE(child->findChild<QLabel*>()->text(), QStringLiteral("Inner"));
        QVERIFY(!child->isOpen());
        QSignalSpy resized(&section, &KRXTwistWidget::widgetWasResized);
        child->setOpen(true);
        QCOMPARE(resized.count(), 1);
    }

    void addSubTWTakesAnExistingSectionAtAnIndex()
    {
        Section section;
        section.addWidgetToBody(new QLabel, 0);
        section.addWidgetToBody(new QLabel, 0);
        auto* child = new Section;
        section.addSubTW(child, 1);
        QCOMPARE(section.bodyWidgets().at(1), child);
        QSignalSpy resized(&section, &KRXTwistWidget::widgetWasResized);
        child->DoExpandColapse();
        QCOMPARE(resized.count(), 1);
        section.addSubTW(nullptr, 0);
        QCOMPARE(section.bodyWidgets().size(), 3);
    }

    void aChildThatComesBackIsConnectedOnce()
    {
        Section section;
        auto* child = new Section;
        section.addSubTW(child, 0);
        section.removeWidgetFromBody(child);
        section.addSubTW(child, 0);
        section.addSubTW(child, 0);
        QSignalSpy resized(&section, &KRXTwistWidget::widgetWasResized);
        child->setOpen(true);
        QCOMPARE(resized.count(), 1);
        QCOMPARE(section.bodyWidgets(), QList<QWidget*>({child}));
    }

    void sizeChangesReachTheOutermostSection()
    {
        Section outer;
        KRXTwistWidget* middle = outer.addSubTW(QStringLiteral("Middle"));
        KRXTwistWidget* inner = middle->addSubTW(QStringLiteral("Inner"));
        QSignalSpy outerResized(&outer, &KRXTwistWidget::widgetWasResized);
        QSignalSpy middleResized(middle, &KRXTwistWidget::widgetWasResized);
        inner->setOpen(true);
        inner->setOpen(false);
        QCOMPARE(middleResized.count(), 2);
        QCOMPARE(outerResized.count(), 2);
        middle->setOpen(true);
        QCOMPARE(outerResized.count(), 3);
    }

    void collapsingLaysOutTheSectionAndItsNearestEnclosingOneOnly()
    {
        Section outermost;
        auto* outer = new Section(QStringLiteral("Outer"));
        auto* inner = new Section(QStringLiteral("Inner"));
        outermost.addSubTW(outer, 0);
        outer->addSubTW(inner, 0);
        auto* content = new QLabel;
        content->setFixedHeight(100);
        inner->addWidgetToBody(content, 0);
        for (KRXTwistWidget* section :
             {static_cast<KRXTwistWidget*>(&outermost), static_cast<KRXTwistWidget*>(outer),
              static_cast<KRXTwistWidget*>(inner)})
            section->setOpen(true);
        outermost.show();
        QVERIFY(QTest::qWaitForWindowExposed(&outermost));
        QTRY_COMPARE(inner->height(), 25 + 103);
        QTRY_COMPARE(outer->height(), inner->height() + 28);
        QTRY_COMPARE(outermost.height(), outer->height() + 28);

        inner->setOpen(false);
        // At once, without an event having been handled:
        QCOMPARE(inner->height(), 25);
        QCOMPARE(outer->height(), 25 + 28);
        QCOMPARE(outermost.height(), 25 + 28 + 28 + 103);
        // And further out with the next events.
        QTRY_COMPARE(outermost.height(), 25 + 28 + 28);
    }

    void openingGrowsTheSectionsAround()
    {
        Section outer;
        auto* inner = new Section;
        outer.addSubTW(inner, 0);
        auto* content = new QLabel;
        content->setFixedHeight(40);
        inner->addWidgetToBody(content, 0);
        outer.setOpen(true);
        outer.show();
        QVERIFY(QTest::qWaitForWindowExposed(&outer));
        QTRY_COMPARE(outer.height(), 25 + 28);
        inner->setOpen(true);
        QTRY_COMPARE(outer.height(), 25 + 28 + 43);
        QCOMPARE(inner->getContentHeight(), 43);
    }

    void openingLaysOutTheSectionAtOnce()
    {
        Section section;
        auto* content = new QLabel;
        content->setFixedHeight(40);
        section.addWidgetToBody(content, 0);
        section.setOpen(true);
        // Without an event having been handled, and though nothing is on the screen yet.
        QCOMPARE(section.minimumHeight(), 25 + 43);
        QCOMPARE(section.height(), 25 + 43);
    }

    void contentHeightIsTheBodysHeight()
    {
        Section section;
        section.body()->resize(50, 77);
        QCOMPARE(section.getContentHeight(), 77);
    }

    void theTitleFontReachesTheLabel()
    {
        Section section;
        QFont font = section.font();
        font.setPointSize(font.pointSize() + 7);
        font.setBold(true);
        section.setTitleFont(font);
        QCOMPARE(section.titleWidget()->font().pointSize(), font.pointSize());
        const auto* label = section.titleWidget()->findChild<QLabel*>();
        QCOMPARE(label->font().pointSize(), font.pointSize());
        QVERIFY(label->font().bold());
        QVERIFY(!section.body()->font().bold());
    }

    void aSectionOutsideAnyProfileEditorHasNoneHoweverOftenItIsAsked()
    {
        QWidget outside;
        Section section(QStringLiteral("Title"), &outside);
        QCOMPARE(section.getProfilesWindow(), nullptr);
        QCOMPARE(section.getProfilesWindow(), nullptr);
        // Nothing was remembered: inside an editor it is found.
        KRXProfilesWindow window(nullptr);
        section.setParent(&window);
        QCOMPARE(section.getProfilesWindow(), &window);
        section.setParent(nullptr);
    }

    void theProfileEditorIsFoundThroughAllLevelsAndRemembered()
    {
        KRXProfilesWindow window(nullptr);
        auto* outer = new Section(QStringLiteral("Outer"), &window);
        KRXTwistWidget* inner = outer->addSubTW(QStringLiteral("Inner"));
        QCOMPARE(inner->getProfilesWindow(), &window);
        const std::unique_ptr<KRXTwistWidget> taken(inner);
        outer->removeWidgetFromBody(inner);
        QCOMPARE(inner->getProfilesWindow(), &window);
    }

    void anEditorThatIsGoneIsForgotten()
    {
        auto window = std::make_unique<KRXProfilesWindow>(nullptr);
        Section section(QStringLiteral("Title"), window.get());
        QCOMPARE(section.getProfilesWindow(), window.get());
        section.setParent(nullptr);
        window.reset();
        QCOMPARE(section.getProfilesWindow(), nullptr);
    }

    void theSectionTakesEverythingWithIt()
    {
        auto section = std::make_unique<Section>();
        const QPointer<QWidget> arrow = section->arrow();
        const QPointer<QWidget> title = section->titleWidget();
        const QPointer<QWidget> body = section->body();
        auto* content = new QLabel;
        const QPointer<QWidget> inBody = content;
        const QPointer<QWidget> child = section->addSubTW(QStringLiteral("Inner"));
        section->addWidgetToBody(content, 0);
        section.reset();
        QVERIFY(!arrow && !title && !body && !inBody && !child);
    }

    void arrowTitleAndBodyGoInThatOrderWhileTheSectionIsStillOne()
    {
        auto section = std::make_unique<Section>();
        const QObject* dying = section.get();
        QStringList gone;
        const auto note = [&](const QObject* part, const char* name) {
            // The section ends within this test.
            connect(part, &QObject::destroyed, this, [&gone, dying, name] { // clazy:exclude=lambda-in-connect
                QVERIFY(qobject_cast<const KRXTwistWidget*>(dying));
                gone << QLatin1String(name);
            });
        };
        note(section->arrow(), "arrow");
        note(section->titleWidget(), "title");
        note(section->body(), "body");
        section.reset();
        QCOMPARE(gone,
                 QStringList({QStringLiteral("arrow"), QStringLiteral("title"), QStringLiteral("body")}));
    }

    void aHundredNestedSectionsOpenAndCloseTogether()
    {
        Nest nest(100);
        nest.outer->setOpen(true);
        nest.area.show();
        QVERIFY(QTest::qWaitForWindowExposed(&nest.area));
        QTRY_COMPARE(nest.outer->minimumHeight(), 101 * 28);
        nest.outer->setOpen(false);
        QTRY_COMPARE(nest.outer->minimumHeight(), 25);
        nest.outer->setOpen(true);
        QTRY_COMPARE(nest.outer->minimumHeight(), 101 * 28);
    }

    void layoutWorkGrowsWithTheDepthOfNestingAndNotWithItsSquare()
    {
        // Counted in layout requests: work that is repeated for each section around another one shows as
        // hundreds of them for each section.
        constexpr int depth = 60;
        constexpr int requestsPerSection = 10;
        Nest nest(depth);
        nest.area.show();
        QVERIFY(QTest::qWaitForWindowExposed(&nest.area));
        LayoutRequests requests;
        nest.outer->setOpen(true);
        QTRY_COMPARE(nest.outer->height(), (depth + 1) * 28);
        QVERIFY2(requests.take() <= depth * requestsPerSection, "first opening");
        nest.outer->setOpen(false);
        QTRY_COMPARE(nest.outer->height(), 25);
        QVERIFY2(requests.take() <= depth * requestsPerSection, "closing");
        nest.outer->setOpen(true);
        QTRY_COMPARE(nest.outer->height(), (depth + 1) * 28);
        QVERIFY2(requests.take() <= depth * requestsPerSection, "opening again");
        nest.innermost->setOpen(false);
        QTRY_COMPARE(nest.outer->height(), (depth + 1) * 28 - 3);
        QVERIFY2(requests.take() <= depth * requestsPerSection, "closing the innermost");
        nest.innermost->setOpen(true);
        QTRY_COMPARE(nest.outer->height(), (depth + 1) * 28);
        QVERIFY2(requests.take() <= depth * requestsPerSection, "opening the innermost");
    }

    void showingAWindowWithOpenSectionsLaysEachOutOnce()
    {
        constexpr int depth = 60;
        Nest nest(depth);
        nest.outer->setOpen(true);
        LayoutRequests requests;
        nest.area.show();
        QVERIFY(QTest::qWaitForWindowExposed(&nest.area));
        QTRY_COMPARE(nest.outer->height(), (depth + 1) * 28);
        QVERIFY(requests.take() <= depth * 10);
    }
};

QTEST_MAIN(TestTwistWidget)
#include "test_twist_widget.moc"
