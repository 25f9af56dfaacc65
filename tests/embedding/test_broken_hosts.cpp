#include "CustomProject.h"
#include "FakeFolderService.h"
#include "KRXFolderManager.h"
#include "KRXFolderViewWidget.h"
#include "KRXHost.h"
#include "KRXProfileManager.h"
#include "KRXProfilesWindow.h"
#include "KRXTwistWidget.h"
#include "KRXWindow.h"

#include "StandInHost.h"
#include "StandInMedia.h"

#include <QEventLoop>
#include <QHeaderView>
#include <QLineEdit>
#include <QPointer>
#include <QTest>
#include <QTimer>

#include <limits>
#include <type_traits>

// Every operation of the host in turn answers with nothing, with nonsense, and late: after events were
// handled that ask for the end of the panel and the editor. Both live with it: nothing crashes, and when the
// host is well again they are as before.

namespace {

enum class Kind { Empty, Nonsense, Late };

/// The operation that answers badly; null when none does.
const char* badOperation = nullptr;
Kind badKind = Kind::Empty;
int badAnswers = 0;

const QString& longText()
{
    static const QString text = QString(5000, QLatin1Char('%')) + QChar(0) + QChar(0xD800) + QChar(1);
    return text;
}

/// Something that no host in its right mind would say.
template <class Value>
Value nonsense()
{
    if constexpr (std::is_same_v<Value, bool>)
        return true;
    else if constexpr (std::is_same_v<Value, int>)
        return std::numeric_limits<int>::min();
    else if constexpr (std::is_integral_v<Value>)
        return std::numeric_limits<Value>::max();
    else if constexpr (std::is_same_v<Value, QString>)
        return longText();
    else if constexpr (std::is_same_v<Value, const char*>)
        return "\xff\xfe%s%n";
    else if constexpr (std::is_same_v<Value, QSize>)
        return {-7, std::numeric_limits<int>::max()};
    else if constexpr (std::is_same_v<Value, QList<int>>)
        return {-1, std::numeric_limits<int>::max(), -1, 0};
    else if constexpr (std::is_same_v<Value, QColor>)
        return QColor::fromRgba(0x01020304);
    else if constexpr (std::is_same_v<Value, QPixmap>)
        return QPixmap(1, 1);
    else if constexpr (std::is_same_v<Value, QMessageBox::StandardButton>)
        return QMessageBox::StandardButton(int(QMessageBox::Yes) | int(QMessageBox::Abort));
    else if constexpr (std::is_same_v<Value, HostMediaEngine::FrameRate>)
        return {-1, 0};
    else if constexpr (std::is_same_v<Value, HostMediaEngine::ChannelGroups> ||
                       std::is_same_v<Value, HostCore::VolumeInformation>)
        return {longText(), longText()};
    else if constexpr (std::is_same_v<Value, HostMediaEngine::CustomFormat>)
        return {0, -1, -1, -1};
    else if constexpr (std::is_same_v<Value, QList<HostMediaEngine::CustomFormat>>)
        return {{0, -1, -1, -1}, {0, -1, -1, -1}};
    else if constexpr (std::is_same_v<Value, HostMediaEngine::CompressionDescriptor>)
        return {{}, 0xffffffff, -7, 0, std::numeric_limits<quint64>::max(), 0xff};
    else if constexpr (std::is_same_v<Value, QList<HostCore::VolumeGroup>>)
        return {{}, {0xffffffff, 0, 0xffffffff}};
    else if constexpr (std::is_same_v<Value, HostCore::VolumeIdentity>)
        return {longText()};
    else if constexpr (std::is_same_v<Value, QList<HostMediaEngine::LinkedMediaPlugin>>)
        return {{longText(), longText(), longText()}, {}};
    else
        return Value();
}

/// What an operation fills in for its caller.
template <class Argument>
void fillWithNonsense(Argument& argument)
{
    if constexpr (!std::is_const_v<Argument>)
        argument = nonsense<Argument>();
}

/// Whom the user takes away while a host keeps them waiting.
QList<QPointer<QWidget>> shown;

/// The host goes on with its own work before it answers. Where it asks the user, the panel and the editor are
/// told to go in the meantime.
void keepWaiting(bool isAskingTheUser)
{
    static bool isWaiting = false;
    if (isWaiting)
        return;
    isWaiting = true;
    if (isAskingTheUser) {
        for (const QPointer<QWidget>& widget : qAsConst(shown)) {
            if (widget)
                widget->deleteLater();
        }
    }
    QEventLoop loop;
    QTimer::singleShot(0, &loop, &QEventLoop::quit);
    loop.exec();
    isWaiting = false;
}

/// The operations of HostQtShell and HostStatusShell that put something before the user.
bool asksTheUser(const char* operation)
{
    for (const char* word : {"showManagedMessageBox", "chooseDirectory", "showHelpTopic", "statusProgress"}) {
        if (QByteArray(operation).contains(word))
            return true;
    }
    return false;
}

/// The operations that are asked only in a project with a frame of its own.
bool isOfCustomProjects(const char* operation)
{
    for (const char* word :
         {"TargetFormat", "CustomFormat", "FormatDisabled", "formatRate", "Description", "::findFormat"}) {
        if (QByteArray(operation).contains(word))
            return true;
    }
    return false;
}

/// Passes an operation on to the stand-in, unless it is the bad one.
template <auto member>
struct Bent;

template <class Result, class... Arguments, Result (*HostOperations::*member)(Arguments...)>
struct Bent<member>
{
    static inline const char* name = nullptr;

    static Result answer(Arguments... arguments)
    {
        if (badOperation && qstrcmp(badOperation, name) == 0) {
            ++badAnswers;
            if (badKind == Kind::Late) {
                keepWaiting(asksTheUser(name));
            } else if constexpr (std::is_void_v<Result>) {
                return;
            } else {
                if (badKind == Kind::Empty)
                    return Result();
                if constexpr (std::is_same_v<Result, bool>)
                    (fillWithNonsense(arguments), ...);
                return nonsense<Result>();
            }
        }
        return (StandInHost::operations().*member)(arguments...);
    }
};

QStringList names;

HostOperations bentHost()
{
    HostOperations host;
    const auto bend = [](const char* name) { names.append(QLatin1String(name)); };
    host.getComponentFactory = &Bent<&HostOperations::getComponentFactory>::answer;
    Bent<& HostOperations::getComponentFactory>::name = "getComponentFactory";
    bend("getComponentFactory");
#define KRX_OPERATION(library, operation)                                                                    \
    host.library##_##operation = &Bent<&HostOperations::library##_##operation>::answer;                      \
    Bent<& HostOperations::library##_##operation>::name = #library "::" #operation;                          \
    bend(#library "::" #operation);
    KRX_HOST_OPERATIONS(KRX_OPERATION)
#undef KRX_OPERATION
    return host;
}

/// A profile with one action of each kind, and several channels in one clip.
QString richProfile()
{
    return QStringLiteral(
        "<profile><version>200</version><profileDetail><profileName>Rich</profileName>"
        "<profileGUID>p1</profileGUID></profileDetail><profileSettings><linkDetail><multichannelAudio>"
        "2:0,1</multichannelAudio></linkDetail></profileSettings><processDefinition><package>"
        "<activities><activity id=\"copy\" name=\"Copy to Folder\"><destinationDetail><filesystemPath>/tmp"
        "</filesystemPath></destinationDetail></activity><activity id=\"transcode\" name=\"Transcode\"/>"
        "<activity id=\"consolidate\" name=\"Consolidate\"/></activities></package></processDefinition>"
        "</profile>");
}

/// What the service has at first: a folder with a clip on offer, and a profile.
void fill(KRXTest::FakeFolderService& service)
{
    service.clear();
    service.folders = {{QStringLiteral("f1"),
                        QStringLiteral("/tmp/watched"),
                        QStringLiteral("p1"),
                        QStringLiteral("false"),
                        {QStringLiteral("/tmp/watched/clip.xel")}}};
    service.profiles = {{QStringLiteral("p1"), QStringLiteral("Rich")}};
    service.profiles[0].document = richProfile();
}

/// Calls a slot of a window that may be gone by now.
void press(const QPointer<QWidget>& window, const char* slot)
{
    if (window)
        QMetaObject::invokeMethod(window, slot);
}

/// The editor with its actions, a name to be chosen, a question and the help.
void useEditor(QWidget* panel)
{
    const QPointer<KRXProfilesWindow> editor(new KRXProfilesWindow(qobject_cast<KRXWindow*>(panel)));
    shown.append(editor.data());
    editor->updateProfilesBox({{QStringLiteral("p1"), QStringLiteral("Rich")}}, QStringLiteral("p1"));
    editor->resize(700, 900);
    editor->show();
    const auto sections = editor->findChildren<KRXTwistWidget*>();
    for (KRXTwistWidget* section : sections)
        section->setSelected(true);
    editor->grab();
    press(editor.data(), "doWinHelp");
    press(editor.data(), "delBtnPressed");
    press(editor.data(), "saveBtnPressed");
    delete editor;
}

/// Closes the module's own dialogs as they come, and gives a name where one is asked for.
void answerDialog()
{
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (!dialog)
        return;
    auto* name = dialog->findChild<QLineEdit*>();
    if (name)
        name->setText(QStringLiteral("Named"));
    name ? dialog->accept() : dialog->reject();
}

/// Everything that is shown, once: the panel active, clips taken, choosers, and the editor.
void useEverything(KRXTest::FakeFolderService& service)
{
    KRXFolderManager::cleanup();
    KRXProfileManager::cleanup();
    fill(service);
    QTimer dialogs;
    QObject::connect(&dialogs, &QTimer::timeout, qApp, &answerDialog);
    dialogs.start(0);
    const QPointer<KRXWindow> panel(new KRXWindow(nullptr, [](const QString&) {}));
    shown = {panel.data()};
    panel->setInHighlightState(true);
    panel->resize(700, 500);
    panel->show();
    panel->refreshFolders();
    panel->updateFoldersOutputReadyState({QStringLiteral("f1")});
    panel->grab();
    panel->getFolderViewWidget()->addFolder(QStringLiteral("/tmp"), QStringLiteral("p1"));
    if (isOfCustomProjects(badOperation))
        openCustomProject();
    useEditor(panel);
    StandInHost::resetMedia();
    if (panel) {
        KRXFolderViewWidget* view = panel->getFolderViewWidget();
        const QRect row = view->visualItemRect(view->itemByFolderId(QStringLiteral("f1")));
        const int x = view->header()->sectionViewportPosition(KRXFolderViewWidget::kIdxIngestColumn) +
                      view->header()->sectionSize(KRXFolderViewWidget::kIdxIngestColumn) / 2;
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, {x, row.center().y()});
    }
    press(panel.data(), "addFolderBtnPressed");
    press(panel.data(), "delFolderBtnPressed");
    delete panel;
}

} // namespace

class TestBrokenHosts : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const HostOperations host = bentHost();
        QVERIFY(krxTakeHost(&host, nullptr));
        StandInHost::setMessageAnswerer([](const StandInHost::MessageRequest&) { return QMessageBox::No; });
        StandInHost::setDirectoryAnswerer([](const StandInHost::DirectoryRequest&) { return QString(); });
    }

    void cleanup() { badOperation = nullptr; }

    void everyOperationMayAnswerBadly_data()
    {
        QTest::addColumn<QString>("operation");
        for (const QString& name : qAsConst(names))
            QTest::newRow(qPrintable(name)) << name;
    }

    void everyOperationMayAnswerBadly()
    {
        QFETCH(QString, operation);
        KRXTest::FakeFolderService service;
        const QByteArray name = operation.toLatin1();
        badOperation = name.constData();
        badAnswers = 0;
        for (Kind kind : {Kind::Empty, Kind::Nonsense, Kind::Late}) {
            badKind = kind;
            useEverything(service);
        }
        // Whoever forgets to ask for something here would test nothing.
        QVERIFY2(badAnswers >= 3, "the operation was not asked for each kind of answer");
        badOperation = nullptr;
        // Well again.
        KRXFolderManager::cleanup();
        KRXProfileManager::cleanup();
        fill(service);
        KRXWindow panel(nullptr, nullptr);
        panel.show();
        panel.refreshFolders();
        QVERIFY(panel.getFolderViewWidget()->itemByFolderId(QStringLiteral("f1")));
    }

    void cleanupTestCase()
    {
        KRXFolderManager::cleanup();
        KRXProfileManager::cleanup();
    }
};

QTEST_MAIN(TestBrokenHosts)
#include "test_broken_hosts.moc"
