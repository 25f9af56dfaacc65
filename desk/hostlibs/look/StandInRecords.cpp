#include "StandInRecords.h"

#include <utility>

namespace StandInHost {

Records& records()
{
    static Records theRecords;
    return theRecords;
}

Recorder::~Recorder() = default;

void setRecorder(Recorder* recorder)
{
    records().recorder = recorder;
}

void setMessageAnswerer(MessageAnswerer answerer)
{
    records().messageAnswerer = std::move(answerer);
}

void setDirectoryAnswerer(DirectoryAnswerer answerer)
{
    records().directoryAnswerer = std::move(answerer);
}

void setProgressListener(ProgressListener listener)
{
    records().progressListener = std::move(listener);
}

void setHelpListener(HelpListener listener)
{
    records().helpListener = std::move(listener);
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
    Recorder* const recorder = records().recorder;
    records() = Records();
    records().guardDepth = depth;
    records().recorder = recorder;
    if (recorder)
        recorder->reset();
}

} // namespace StandInHost
