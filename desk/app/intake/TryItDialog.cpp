#include "TryItDialog.h"

#include "PlainText.h"

#include "RestWaits.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QPointer>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

constexpr unsigned kLongest = 25000; ///< milliseconds that the service may look at the file
constexpr int kWidth = 820;
constexpr int kHeight = 320;
constexpr int kActionWidth = 150;
constexpr int kVerdictWidth = 110;

QString textOf(Rehearsal::Verdict verdict)
{
    switch (verdict) {
    case Rehearsal::Verdict::WillDo:
        return TryItDialog::tr("Will be done");
    case Rehearsal::Verdict::WillSkip:
        return TryItDialog::tr("Is done already");
    default:
        return TryItDialog::tr("Cannot be done");
    }
}

QTreeWidgetItem* addRow(QTreeWidgetItem* parent, const QStringList& texts)
{
    auto* row = new QTreeWidgetItem(parent, texts);
    for (int column = 0; column < texts.size(); ++column)
        row->setToolTip(column, plainToolTip(texts.at(column)));
    return row;
}

} // namespace

TryItDialog::TryItDialog(const QString& profileId, const QString& path, QWidget* parent)
    : QDialog(parent)
    , m_title(new QLabel(tr("The service looks at %1 ...").arg(QFileInfo(path).fileName()), this))
    , m_steps(new QTreeWidget(this))
    , m_waits(std::make_shared<StandInHost::RestWaits>())
{
    setObjectName(QStringLiteral("tryItDialog"));
    setWindowTitle(tr("Try It"));
    m_title->setTextFormat(Qt::PlainText);
    m_title->setWordWrap(true);
    m_steps->setObjectName(QStringLiteral("tryItSteps"));
    m_steps->setHeaderLabels({tr("Action"), tr("Verdict"), tr("Result or reason")});
    m_steps->setTextElideMode(Qt::ElideMiddle);
    m_steps->header()->resizeSection(0, kActionWidth);
    m_steps->header()->resizeSection(1, kVerdictWidth);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    // The desktop's picture on it may be as dark as the dark skin.
    buttons->button(QDialogButtonBox::Close)->setIcon(QIcon());
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_title);
    layout->addWidget(m_steps, 1);
    layout->addWidget(buttons);
    resize(kWidth, kHeight);

    const QPointer<TryItDialog> self(this);
    m_thread.reset(QThread::create([self, waits = m_waits, profileId, path] {
        StandInHost::RestWaits::follow(waits);
        const RestReply reply = restrequest::post(QStringLiteral("profiles/%1/dryrun").arg(profileId),
                                                  Rehearsal::request(path), kLongest);
        // The dialog waits for this thread before it goes.
        QMetaObject::invokeMethod(
            self.data(), [self, reply] { self->present(reply); }, Qt::QueuedConnection);
    }));
    m_thread->start();
}

TryItDialog::~TryItDialog()
{
    m_waits->end();
    m_thread->wait();
}

void TryItDialog::run(const QString& profileId, bool unsaved, QWidget* parent)
{
    const QPointer<QWidget> guarded(parent);
    const QString title = unsaved ? tr("Try the Profile as It Was Saved on a File") : tr("Try It on a File");
    const QString path = QFileDialog::getOpenFileName(parent, title);
    if (path.isEmpty() || !guarded)
        return;
    auto* dialog = new TryItDialog(profileId, path, parent);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
}

void TryItDialog::present(const RestReply& reply)
{
    Rehearsal run;
    if (!reply.succeeded)
        m_title->setText(tr("The service cannot tell: %1").arg(reply.error));
    else if (!Rehearsal::read(reply.body, run))
        m_title->setText(tr("The service's answer was not understood."));
    else
        present(run);
}

void TryItDialog::present(const Rehearsal& run)
{
    if (!run.reason.isEmpty()) {
        m_title->setText(tr("%1 would not be offered: %2").arg(QFileInfo(run.path).fileName(), run.reason));
        return;
    }
    m_title->setText(tr("%1 would be taken as a clip: %2. Nothing was done.")
                         .arg(run.clip, run.facts.join(QLatin1String("; "))));
    for (const Rehearsal::Step& step : run.steps) {
        QString what = step.reason;
        if (step.seconds >= 0) {
            const QString time = tr("about %1 s").arg(QLocale().toString(qMax(1.0, step.seconds), 'f', 0));
            what = what.isEmpty() ? time : tr("%1 (%2)").arg(what, time);
        }
        auto* row = addRow(nullptr, {step.name, textOf(step.verdict), what});
        m_steps->addTopLevelItem(row);
        for (const Rehearsal::Result& result : step.results)
            addRow(row, {QString(), result.bytes >= 0 ? QLocale().formattedDataSize(result.bytes) : QString(),
                         result.path});
        row->setExpanded(true);
    }
    if (run.steps.isEmpty())
        addRow(m_steps->invisibleRootItem(), {tr("Link"), textOf(Rehearsal::Verdict::WillDo), run.path});
}
