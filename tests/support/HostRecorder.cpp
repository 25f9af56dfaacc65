#include "HostRecorder.h"

namespace {

class HostRecorder final : public StandInHost::Recorder
{
public:
    HostRecorder() { StandInHost::setRecorder(this); }
    ~HostRecorder() override { StandInHost::setRecorder(nullptr); }

    void asked(const StandInHost::MessageRequest& request) override { messages.append(request); }
    void asked(const StandInHost::DirectoryRequest& request) override { directories.append(request); }
    void progressed(const StandInHost::ProgressStep& step) override { progress.append(step); }
    void helpShown(const StandInHost::HelpRequest& request) override { help.append(request); }
    void reset() override
    {
        messages.clear();
        directories.clear();
        progress.clear();
        help.clear();
    }

    QList<StandInHost::MessageRequest> messages;
    QList<StandInHost::DirectoryRequest> directories;
    QList<StandInHost::ProgressStep> progress;
    QList<StandInHost::HelpRequest> help;
};

HostRecorder theRecorder;

} // namespace

namespace StandInHost {

QList<MessageRequest> messageLog()
{
    return theRecorder.messages;
}

QList<DirectoryRequest> directoryLog()
{
    return theRecorder.directories;
}

QList<ProgressStep> progressLog()
{
    return theRecorder.progress;
}

QList<HelpRequest> helpLog()
{
    return theRecorder.help;
}

} // namespace StandInHost
