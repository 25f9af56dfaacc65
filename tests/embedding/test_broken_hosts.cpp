#include "FakeFolderService.h"
#include "KRXFolderManager.h"
#include "KRXFolderViewWidget.h"
#include "KRXHost.h"
#include "KRXProfileManager.h"
#include "KRXProfilesWindow.h"
#include "KRXWindow.h"

#include "StandInHost.h"

#include <QTest>

#include <limits>
#include <type_traits>

// Every operation of the host in turn answers with nothing, and then with nonsense. The panel and the editor
// live with it: nothing crashes, and when the host is well again they are as before.

namespace {

enum class Kind { Empty, Nonsense };

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
    else if constexpr (std::is_same_v<Value, HostMediaEngine::ChannelGroups>)
        return {longText(), longText()};
    else if constexpr (std::is_same_v<Value, QList<HostMediaEngine::CustomFormat>>)
        return {{0, -1, -1, -1}, {0, -1, -1, -1}};
    else if constexpr (std::is_same_v<Value, QList<HostMediaEngine::LinkedMediaPlugin>>)
        return {{longText(), longText(), longText()}, {}};
    else
        return Value();
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
            if constexpr (!std::is_void_v<Result>)
                return badKind == Kind::Nonsense ? nonsense<Result>() : Result();
            else
                return;
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

/// A profile with one action of each kind.
QString richProfile()
{
    return QStringLiteral(
        "<profile><version>200</version><profileDetail><profileName>Rich</profileName>"
        "<profileGUID>p1</profileGUID></profileDetail><profileSettings/><processDefinition><package>"
        "<activities><activity id=\"copy\" name=\"Copy to Folder\"><destinationDetail><filesystemPath>/tmp"
        "</filesystemPath></destinationDetail></activity><activity id=\"transcode\" name=\"Transcode\"/>"
        "<activity id=\"consolidate\" name=\"Consolidate\"/></activities></package></processDefinition>"
        "</profile>");
}

/// Everything that is shown, once: the panel active, the editor with its actions, a question, a chooser.
void useEverything(KRXTest::FakeFolderService& service)
{
    KRXFolderManager::cleanup();
    KRXProfileManager::cleanup();
    service.clear();
    // The module's own dialogs are closed as they come.
    QTimer closer;
    QObject::connect(&closer, &QTimer::timeout, qApp, [] {
        if (QWidget* dialog = QApplication::activeModalWidget())
            dialog->close();
    });
    closer.start(0);
    KRXWindow panel(nullptr, nullptr);
    panel.setInHighlightState(true);
    panel.resize(700, 500);
    panel.show();
    panel.refreshFolders();
    panel.updateFoldersOutputReadyState({QStringLiteral("f1")});
    panel.grab();
    panel.getFolderViewWidget()->addFolder(QStringLiteral("/tmp"), QStringLiteral("p1"));
    KRXProfilesWindow editor(&panel);
    editor.updateProfilesBox({{QStringLiteral("p1"), QStringLiteral("Rich")}}, QStringLiteral("p1"));
    editor.resize(700, 900);
    editor.show();
    editor.grab();
    QMetaObject::invokeMethod(&editor, "saveBtnPressed");
    QMetaObject::invokeMethod(&panel, "addFolderBtnPressed");
    QMetaObject::invokeMethod(&panel, "delFolderBtnPressed");
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
        service.folders = {{QStringLiteral("f1"), QStringLiteral("/tmp/watched"), QStringLiteral("p1")}};
        service.profiles = {{QStringLiteral("p1"), QStringLiteral("Rich")}};
        service.profiles[0].document = richProfile();
        const QByteArray name = operation.toLatin1();
        badOperation = name.constData();
        badAnswers = 0;
        for (Kind kind : {Kind::Empty, Kind::Nonsense}) {
            badKind = kind;
            useEverything(service);
        }
        const bool wasAsked = badAnswers > 0;
        badOperation = nullptr;
        // Well again.
        KRXFolderManager::cleanup();
        KRXProfileManager::cleanup();
        KRXWindow panel(nullptr, nullptr);
        panel.show();
        panel.refreshFolders();
        QVERIFY(panel.getFolderViewWidget()->itemByFolderId(QStringLiteral("f1")));
        if (!wasAsked)
            m_notAsked.append(operation);
    }

    void nearlyEveryOperationWasAsked()
    {
        // These take custom formats, a helper's progress, a click on "What's This?" or a profile with more in
        // it.
        m_notAsked.sort();
        qInfo("not asked: %s", qPrintable(m_notAsked.join(QLatin1Char(' '))));
        QVERIFY(m_notAsked.size() <= kMayBeLeftOut);
    }

    void cleanupTestCase()
    {
        KRXFolderManager::cleanup();
        KRXProfileManager::cleanup();
    }

private:
    static constexpr int kMayBeLeftOut = 15;
    QStringList m_notAsked;
};

QTEST_MAIN(TestBrokenHosts)
#include "test_broken_hosts.moc"
