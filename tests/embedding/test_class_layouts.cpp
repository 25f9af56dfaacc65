#include "ActionsWorld.h"
#include "IAction.h"
#include "IKRXXelSettings.h"
#include "KRXBaseService.h"
#include "KRXLinkOptionsSettings.h"
#include "KRXLinkToProfileWidget.h"
#include "KRXProfilesWindow.h"
#include "KRXSettingsController.h"
#include "KRXSummaryWidget.h"
#include "KRXTwistWidget.h"
#include "KRXWindow.h"
#include "KRXZorMetadata.h"

#include <QComboBox>
#include <QTest>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace {

/// The place of a virtual operation in the table of its class, as compilers on this system lay it out: a
/// pointer to it is its offset in the table plus one. A destructor takes two places.
template <class Operation>
int slotOf(Operation operation)
{
    std::ptrdiff_t words[2] = {};
    static_assert(sizeof operation == sizeof words);
    std::memcpy(words, &operation, sizeof words);
    return (words[0] & 1) != 0 ? int((words[0] - 1) / std::ptrdiff_t(sizeof(void*))) : -1;
}

/// The members of an object behind those of its base, as words.
template <class Base, class Class>
QList<const void*> wordsOf(const Class& object)
{
    const auto* bytes = reinterpret_cast<const char*>(&object);
    QList<const void*> words;
    for (std::size_t at = sizeof(Base); at + sizeof(void*) <= sizeof(Class); at += sizeof(void*)) {
        const void* word = nullptr;
        std::memcpy(&word, bytes + at, sizeof word);
        words << word;
    }
    return words;
}

/// Whether all of them are there, each behind the one before.
bool standInOrder(const QList<const void*>& words, const QList<const void*>& wanted)
{
    int at = -1;
    for (const void* word : wanted) {
        at = words.indexOf(word, at + 1);
        if (at < 0)
            return false;
    }
    return true;
}

/// The operations in their order; a class that others are derived from adds them behind those of its base.
template <class... Operations>
QList<int> slotsOf(Operations... operations)
{
    return {slotOf(operations)...};
}

QList<int> inARowFrom(int first, int count)
{
    QList<int> places;
    for (int place = 0; place < count; ++place)
        places << first + place;
    return places;
}

struct Panel : KRXWindow
{
    static QList<int> operations()
    {
        return slotsOf(&Panel::Show, &Panel::initProfilesWindow, &Panel::openServicesDialog,
                       &Panel::setNewHeight);
    }
};

struct EditorWindow : KRXProfilesWindow
{
    static QList<int> operations()
    {
        return slotsOf(&EditorWindow::runModal, &EditorWindow::setNewHeight, &EditorWindow::updateProfilesBox,
                       &EditorWindow::initXelSettingsValues, &EditorWindow::updateMultiChannelLabel,
                       &EditorWindow::updateKRXWindowInfo, &EditorWindow::updateCodecBox,
                       &EditorWindow::updateEncodingProfileBox, &EditorWindow::mayLeaveProfile);
    }
};

/// Shows where the members of a section are.
struct Section : KRXTwistWidget
{
    using KRXTwistWidget::KRXTwistWidget;

    QList<const void*> places() const
    {
        return {&m_arrow,    &m_open,        &m_titleWidget, &m_bodyWidget, &m_useTransparentBackground,
                &m_selected, &m_dropPosition};
    }
};

} // namespace

/// Hosts call the module's classes through tables of operations, and derive from them.
class TestClassLayouts : public QObject
{
    Q_OBJECT

private slots:
    void theOperationsOfAGroupOfLinkSettings()
    {
        QCOMPARE(slotOf(&IKRXXelSettings::createWidget), 2);
        QCOMPARE(slotOf(&IKRXXelSettings::settingsType), 3);
        QCOMPARE(slotOf(&IKRXXelSettings::writeXml), 4);
        QCOMPARE(slotOf(&IKRXXelSettings::readXml), 5);
        QCOMPARE(sizeof(IKRXXelSettings), 2 * sizeof(void*));
    }

    void theOperationsThatSomeGroupsAdd()
    {
        QCOMPARE(slotOf(&KRXLinkOptionsSettings::getMultichannelLabel), 6);
        QCOMPARE(slotOf(&KRXLinkOptionsSettings::getAudioStartTimeBox), 7);
        QCOMPARE(slotOf(&KRXLinkOptionsSettings::getStillImageBox), 8);
        QCOMPARE(slotOf(&KRXZorMetadata::getDefaultFPSBox), 6);
        QCOMPARE(slotOf(&KRXZorMetadata::setProfilesWindow), 7);
    }

    void theOperationsOfAnAction()
    {
        QCOMPARE(slotOf(&IAction::createWidget), 2);
        QCOMPARE(slotOf(&IAction::writeXml), 3);
        QCOMPARE(slotOf(&IAction::getType), 4);
        QCOMPARE(slotOf(&IAction::readXml), 5);
        QCOMPARE(slotOf(&IAction::setDefaults), 6);
        QCOMPARE(slotOf(&IAction::validate), 7);
    }

    void theOperationsOfThePanel()
    {
        const QList<int> operations = Panel::operations();
        QCOMPARE(operations, inARowFrom(operations.first(), 4));
    }

    void theOperationsOfTheEditor()
    {
        // What came later stands behind what hosts know.
        const QList<int> operations = EditorWindow::operations();
        QCOMPARE(operations, inARowFrom(operations.first(), 9));
    }

    void theMembersOfTheSettingsController()
    {
        KRXTwistWidget section(nullptr, QString());
        // The controller only keeps the window as long as it has no groups.
        int somewhere = 0;
        auto* window = reinterpret_cast<KRXProfilesWindow*>(&somewhere);
        const auto* controller = new KRXSettingsController(&section, window);
        const QList<const void*> words = wordsOf<QObject>(*controller);
        QCOMPARE(words.size(), 3);
        QVERIFY(words.at(0));
        QCOMPARE(words.at(1), static_cast<const void*>(&section));
        QCOMPARE(words.at(2), static_cast<const void*>(window));
    }

    void theMembersOfASection()
    {
        ActionsWorld::reset();
        ActionsWorld::Editor editor;
        Section section(&editor, QString());
        const QList<const void*> places = section.places();
        QVERIFY(std::is_sorted(places.begin(), places.end()));
        QCOMPARE(section.getProfilesWindow(), static_cast<KRXProfilesWindow*>(&editor));
        // The window behind all of them.
        const auto behind =
            std::size_t(static_cast<const char*>(places.last()) - reinterpret_cast<const char*>(&section));
        const QList<const void*> words = wordsOf<QWidget>(static_cast<const KRXTwistWidget&>(section));
        const int at = words.indexOf(static_cast<const QObject*>(&editor));
        QVERIFY(at >= 0);
        QVERIFY(sizeof(QWidget) + std::size_t(at) * sizeof(void*) > behind);
    }

    void theMembersOfTheLinkToProfileWidget()
    {
        ActionsWorld::reset();
        ActionsWorld::Editor editor;
        KRXSummaryWidget summary(nullptr);
        int somewhere = 0;
        auto* managed = reinterpret_cast<HostManagedWindow*>(&somewhere);
        const KRXLinkToProfileWidget widget(&summary, &editor, false, managed, nullptr);
        QVERIFY(standInOrder(wordsOf<QWidget>(widget),
                             {static_cast<const QObject*>(&summary), widget.findChild<QComboBox*>(),
                              static_cast<const QObject*>(&editor), managed}));
    }
};

QTEST_MAIN(TestClassLayouts)
#include "test_class_layouts.moc"
