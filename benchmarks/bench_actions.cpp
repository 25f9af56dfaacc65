#include "Bench.h"

#include "ActionTWidget.h"
#include "ActionTypeBox.h"
#include "CodecBox.h"
#include "CodecFills.h"
#include "IAction.h"
#include "KRXProfilesWindow.h"
#include "KRXTwistWidget.h"
#include "ProfileActionsController.h"
#include "StandInHost.h"
#include "StandInMedia.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QDomDocument>
#include <QElapsedTimer>
#include <QSignalBlocker>

#include <algorithm>
#include <functional>
#include <vector>

namespace KRXBench {

namespace {

void require(bool held, const char* what)
{
    if (!held)
        qFatal("the measure means nothing: %s", what);
}

/// The editor with its hooks as a host fills them.
class Editor : public KRXProfilesWindow
{
public:
    Editor()
        : KRXProfilesWindow(nullptr)
        , section(findChild<KRXTwistWidget*>(QStringLiteral("xelSettingsTwistWidget")))
    {
        section->setOpen(true);
        show();
    }

    void updateCodecBox(CodecBox* box) override
    {
        ++codecFills;
        {
            const QSignalBlocker blocker(box);
            const QVariant chosen = box->currentData();
            CodecFills::codecs(box);
            box->setCurrentIndex(qMax(0, box->findData(chosen)));
        }
        updateEncodingProfileBox(box);
    }

    void updateEncodingProfileBox(CodecBox* box) override
    {
        const QSignalBlocker blocker(box->getEncodingProfileBox());
        CodecFills::encodingProfiles(box);
    }

    KRXTwistWidget* section;
    int codecFills = 0;
};

/// Median time of work that a person starts: what the window still had to do is done before.
double medianSettledMs(int runs, const std::function<void()>& work)
{
    std::vector<double> times;
    for (int run = -1; run < runs; ++run) {
        QCoreApplication::processEvents();
        QElapsedTimer timer;
        timer.start();
        work();
        // The first one does not count.
        if (run >= 0)
            times.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times.at(times.size() / 2);
}

/// A profile of that many transcodes, as the list itself writes it.
QDomDocument transcodes(Editor& editor, int count)
{
    ProfileActionsController* actions = editor.getAllActionsController();
    QDomDocument seed;
    seed.setContent(
        QStringLiteral("<profile>%1</profile>")
            .arg(QStringLiteral("<activity id=\"transcode\" name=\"Transcode 1\"/>").repeated(count)));
    actions->readXml(seed);
    QDomDocument whole;
    QDomElement root = whole.createElement(QStringLiteral("profile"));
    whole.appendChild(root);
    actions->writeXml(whole, root);
    return whole;
}

void measureReading(Table& table, Editor& editor)
{
    const QString work = QStringLiteral("actions: rebuild a list of transcodes");
    ProfileActionsController* actions = editor.getAllActionsController();
    for (int n : {1, 10, 100}) {
        const QDomDocument document = transcodes(editor, n);
        editor.codecFills = 0;
        actions->readXml(document);
        require(actions->rows().count() == n, "all rows are there");
        require(editor.codecFills == n, "no list of codecs is filled twice");
        const double time = medianSettledMs(n == 100 ? 5 : 15, [&] { actions->readXml(document); });
        Row& row = table.add(work, n, time, 0);
        row.must = QStringLiteral("<= 5 ms per row");
        row.met = time <= 5.0 * n;
        if (n == 100) {
            row.must += QStringLiteral(", linear (growth <= 15)");
            row.met = row.met && row.growth <= 15;
        }
    }
}

void measureWriting(Table& table, Editor& editor)
{
    ProfileActionsController* actions = editor.getAllActionsController();
    for (int n : {10, 100}) {
        actions->readXml(transcodes(editor, n));
        const double time = medianMs(15, [&] {
            QDomDocument document;
            QDomElement root = document.createElement(QStringLiteral("profile"));
            document.appendChild(root);
            require(actions->writeXml(document, root), "the list is written");
        });
        Row& row = table.add(QStringLiteral("actions: write a list of transcodes"), n, time, 0);
        if (n == 100) {
            row.must = QStringLiteral("<= 20 ms");
            row.met = time <= 20;
        }
    }
}

void measureTypeChange(Table& table, Editor& editor)
{
    constexpr double kMostMs = 20;
    ProfileActionsController* actions = editor.getAllActionsController();
    QDomDocument copies;
    copies.setContent(
        QStringLiteral("<profile>%1</profile>").arg(QStringLiteral("<activity id=\"copy\"/>").repeated(10)));
    const auto freshRow = [&] {
        actions->readXml(copies);
        return actions->rows().constFirst()->findChild<ActionTypeBox*>();
    };
    std::vector<double> times;
    for (int run = 0; run < 15; ++run) {
        // A row whose action of the new type is not made yet.
        ActionTypeBox* fresh = freshRow();
        QCoreApplication::processEvents();
        QElapsedTimer timer;
        timer.start();
        fresh->setCurrentIndex(int(ActionType::Transcode));
        times.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(times.begin(), times.end());
    const double first = times.at(times.size() / 2);
    Row& making = table.add(QStringLiteral("actions: change a type, first time"), 1, first, 0);
    making.must = QStringLiteral("<= 20 ms");
    making.met = making.ours <= kMostMs;

    ActionTypeBox* box = freshRow();
    const double again = medianMs(15, [&] {
        box->setCurrentIndex(int(ActionType::Transcode));
        box->setCurrentIndex(int(ActionType::Copy));
    });
    Row& reusing = table.add(QStringLiteral("actions: change a type there and back"), 1, again, 0);
    reusing.must = QStringLiteral("<= 40 ms");
    reusing.met = again <= 2 * kMostMs;
}

void measureProjectTypeChange(Table& table, Editor& editor)
{
    ProfileActionsController* actions = editor.getAllActionsController();
    actions->readXml(transcodes(editor, 1));
    QComboBox* types = actions->rows().constFirst()->findChild<CodecBox*>()->getProjectTypeBox();
    require(types->count() > 1, "there is another project type");
    const double time = medianMs(15, [&] {
        editor.codecFills = 0;
        types->setCurrentIndex((types->currentIndex() + 1) % types->count());
        require(editor.codecFills == 1, "a change asks for the codecs once");
    });
    Row& row = table.add(QStringLiteral("actions: change the project type"), 1, time, 0);
    row.must = QStringLiteral("one refill");
}

} // namespace

void measureActions(Table& table)
{
    StandInHost::resetMedia();
    StandInHost::setVolumes({{{QStringLiteral("System"), QString(QLatin1Char('/'))},
                              {QStringLiteral("Media"), QStringLiteral("/media/a")}}});
    StandInHost::setMessageAnswerer([](const StandInHost::MessageRequest&) { return QMessageBox::Ok; });
    {
        Editor editor;
        measureReading(table, editor);
        measureWriting(table, editor);
        measureTypeChange(table, editor);
        measureProjectTypeChange(table, editor);
        editor.getProfileState()->setModified(false);
    }
    StandInHost::resetRecords();
    StandInHost::useMountedVolumes();
}

} // namespace KRXBench
