#include "WorkTour.h"

#include "FolderTour.h"
#include "TourStage.h"

#include "ActivityDocks.h"
#include "DeskWindow.h"

#include <QAbstractButton>
#include <QDir>
#include <QFile>
#include <QTableView>
#include <QTreeWidget>

#include <algorithm>

namespace {

/// Milliseconds that work may take on a machine that has other work.
constexpr int kLongWork = 120000;
/// A bar that a picture shows.
constexpr int kVisiblePercent = 15;

QString fullTree(const QTreeWidget* tree)
{
    QStringList texts;
    for (QTreeWidgetItemIterator item(const_cast<QTreeWidget*>(tree)); *item; ++item) {
        for (int column = 0; column < tree->columnCount(); ++column)
            texts << (*item)->text(column);
    }
    return texts.join(QLatin1String(" | "));
}

} // namespace

WorkTour::WorkTour(TourStage& stage, FolderTour& folders)
    : m_stage(stage)
    , m_folders(folders)
{
}

const ServiceClip* WorkTour::clip(const QString& name) const
{
    const auto* docks = m_stage.window().findChild<ActivityDocks*>();
    const auto& clips = docks->clips().clips();
    const auto found = std::find_if(clips.begin(), clips.end(),
                                    [&name](const ServiceClip& one) { return one.name == name; });
    return found == clips.end() ? nullptr : &*found;
}

TourStep::Condition WorkTour::clipIs(const QString& name, ClipState state) const
{
    return [this, name, state]() -> QString {
        const ServiceClip* found = clip(name);
        if (!found)
            return QStringLiteral("the clip is not listed");
        return found->state == state ? QString() : serviceclip::text(found->state);
    };
}

void WorkTour::addJobsChoice()
{
    m_stage.addMenuChoice(QStringLiteral("&View"), QStringLiteral("Jobs"));
}

void WorkTour::addFailure(const QString& copies, const QString& file, const QString& newName)
{
    const QString aside = copies + QLatin1String(" (away)");
    addJobsChoice();
    m_stage.add(QStringLiteral("The jobs are shown"), nullptr, m_stage.widgetIsThere("jobsPane"),
                QStringLiteral("jobs"));
    m_stage.add(
        QStringLiteral("A copy has no place to go, and its clip says why it failed"),
        [this, copies, aside, file, newName] {
            QDir().rename(copies, aside);
            QFile inTheWay(copies);
            inTheWay.open(QIODevice::WriteOnly);
            m_stage.drop(file, m_folders.folder(), newName);
        },
        clipIs(newName, ClipState::Failed), QStringLiteral("job-failed"));
    addReasons(newName);
    m_stage.add(
        QStringLiteral("The place is mended, and \"Try All Failed Again\" makes the clip ready"),
        [this, copies, aside] {
            QFile::remove(copies);
            QDir().rename(aside, copies);
            m_stage.click(m_stage.button(QStringLiteral("Try All Failed Again")));
        },
        clipIs(newName, ClipState::Offered), QStringLiteral("job-retried"));
    addJobsChoice();
}

void WorkTour::addReasons(const QString& name)
{
    const QString whyNot = QStringLiteral("Why Not Ready?");
    const QString messages = QStringLiteral("Messages");
    const QString view = QStringLiteral("&View");
    const auto tree = [this] { return qobject_cast<QTreeWidget*>(m_stage.widget("notReadyTree")); };
    m_stage.addMenuChoice(view, whyNot);
    m_stage.add(
        QStringLiteral("A folder is opened, and says why its clip is not ready"),
        [this, tree] {
            if (!tree() || tree()->topLevelItemCount() == 0)
                return m_stage.runner().fail(QStringLiteral("no folder is listed"));
            const QRect row = tree()->visualItemRect(tree()->topLevelItem(0));
            const QPoint arrow(row.left() - tree()->indentation() / 2, row.center().y());
            m_stage.input().clickAt(tree()->viewport()->mapToGlobal(arrow));
        },
        [tree, name]() -> QString {
            const QString told = tree() ? fullTree(tree()) : QString();
            return told.contains(name) ? QString() : QStringLiteral("it says: %1").arg(told);
        },
        QStringLiteral("why-not-ready"));
    m_stage.addMenuChoice(view, messages);
    m_stage.add(
        QStringLiteral("The messages say it, too, and what to do"), nullptr,
        [this]() -> QString {
            const auto* table = qobject_cast<QTableView*>(m_stage.widget("messagesTable"));
            return table && table->model()->rowCount() > 0 ? QString() : QStringLiteral("there is none");
        },
        QStringLiteral("messages"));
    m_stage.addMenuChoice(view, messages);
    m_stage.addMenuChoice(view, whyNot);
}

void WorkTour::addLongWork(const QString& file)
{
    addJobsChoice();
    m_stage.add(
        QStringLiteral("A long movie is dropped, and a bar shows how far its transcode is"),
        [this, file] { m_stage.drop(file, m_folders.folder()); },
        [this, file]() -> QString {
            const QString acting = clipIs(file, ClipState::Acting)();
            if (!acting.isEmpty())
                return acting;
            m_percent = clip(file)->percent;
            return m_percent >= kVisiblePercent ? QString() : QStringLiteral("no bar is shown");
        },
        QStringLiteral("transcode-at-work"));
    TourStep ready;
    ready.name = QStringLiteral("The bar grows, and in the end the clip is ready");
    ready.after = [this, file]() -> QString {
        const ServiceClip* found = clip(file);
        if (found && found->state == ClipState::Acting && found->percent < m_percent)
            m_stage.runner().fail(QStringLiteral("the bar shrinks"));
        return clipIs(file, ClipState::Offered)();
    };
    ready.picture = QStringLiteral("transcode-ready");
    ready.patience = kLongWork;
    m_stage.add(ready);
    addJobsChoice();
}

void WorkTour::addDryRun(const QString& file, const QString& result)
{
    m_stage.add(
        QStringLiteral("\"Profile Editor\" opens the editor on the folder's profile"),
        [this] { m_stage.click(m_stage.widget("profileEditBtn")); }, m_stage.widgetIsThere("tryItBtn"));
    m_stage.add(
        QStringLiteral("\"Try It...\" opens the file chooser"),
        [this] { m_stage.click(m_stage.widget("tryItBtn")); }, m_stage.widgetIsThere("fileNameEdit"));
    m_folders.addTypedPath(QString(m_stage.mediaFolder() + QLatin1Char('/') + file), QString());
    m_stage.add(
        QStringLiteral("The service tells what it would do, and does nothing"), nullptr,
        [this, result]() -> QString {
            const auto* steps = qobject_cast<QTreeWidget*>(m_stage.widget("tryItSteps"));
            if (!steps)
                return QStringLiteral("no dry run is shown");
            const QString told = fullTree(steps);
            return told.contains(result) ? QString() : QStringLiteral("it tells: %1").arg(told);
        },
        QStringLiteral("dry-run"));
    m_stage.add(
        QStringLiteral("\"Close\" closes the dry run"),
        [this] { m_stage.click(m_stage.button(QStringLiteral("Close"))); },
        m_stage.widgetIsThere("KRX_CancelBtn"));
    m_stage.add(
        QStringLiteral("\"Cancel\" closes the editor"),
        [this] { m_stage.click(m_stage.widget("KRX_CancelBtn")); }, m_stage.deskIsOnTop());
}
