#include "StandInRecords.h"

#include <utility>

namespace StandInHost {

Records& records()
{
    static Records theRecords;
    return theRecords;
}

void setMessageAnswerer(MessageAnswerer answerer)
{
    records().messageAnswerer = std::move(answerer);
}

QList<MessageRequest> messageLog()
{
    return records().messages;
}

void setDirectoryAnswerer(DirectoryAnswerer answerer)
{
    records().directoryAnswerer = std::move(answerer);
}

QList<DirectoryRequest> directoryLog()
{
    return records().directories;
}

void setProgressListener(ProgressListener listener)
{
    records().progressListener = std::move(listener);
}

QList<ProgressStep> progressLog()
{
    return records().progress;
}

void setHelpListener(HelpListener listener)
{
    records().helpListener = std::move(listener);
}

QList<HelpRequest> helpLog()
{
    return records().help;
}

int navigationGuardDepth()
{
    return records().guardDepth;
}

int navigationGuardCount()
{
    return records().guardCount;
}

void resetRecords()
{
    // Guards that live now end later and must find the depth that they made.
    const int depth = records().guardDepth;
    records() = Records();
    records().guardDepth = depth;
}

} // namespace StandInHost
