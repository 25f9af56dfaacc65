#pragma once

#include "StandInHost.h"

/// What the stand-in remembers of the questions and notices that reached it. Inside the stand-in only.
namespace StandInHost {

struct Records
{
    MessageAnswerer messageAnswerer;
    DirectoryAnswerer directoryAnswerer;
    ProgressListener progressListener;
    HelpListener helpListener;
    QList<MessageRequest> messages;
    QList<DirectoryRequest> directories;
    QList<ProgressStep> progress;
    QList<HelpRequest> help;
    int guardDepth = 0;
    int guardCount = 0;
};

Records& records();

} // namespace StandInHost
