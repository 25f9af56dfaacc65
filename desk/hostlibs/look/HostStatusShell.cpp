#include "HostStatusShell.h"

#include "StandInRecords.h"

namespace {

void tell(const StandInHost::ProgressStep& step)
{
    StandInHost::Records& records = StandInHost::records();
    if (records.recorder)
        records.recorder->progressed(step);
    // A copy, because a listener may take itself away.
    const StandInHost::ProgressListener listener = records.progressListener;
    if (listener)
        listener(step);
}

} // namespace

namespace HostStatusShell {

void statusProgressReset()
{
    tell({StandInHost::ProgressStep::Reset, QString(), 0, 0});
}

void statusProgressUpdate(const QString& text, int current, int total)
{
    tell({StandInHost::ProgressStep::Update, text, current, total});
}

void statusProgressClose()
{
    tell({StandInHost::ProgressStep::Close, QString(), 0, 0});
}

void showHelpTopic(const QString& topic, int flag)
{
    StandInHost::Records& records = StandInHost::records();
    const StandInHost::HelpRequest request{topic, flag};
    if (records.recorder)
        records.recorder->helpShown(request);
    const StandInHost::HelpListener listener = records.helpListener;
    if (listener)
        listener(request);
}

} // namespace HostStatusShell
