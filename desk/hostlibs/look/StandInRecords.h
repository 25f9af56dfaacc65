#pragma once

#include "StandInHost.h"

/// Who answers and follows the questions and notices that reach the stand-in. Inside the stand-in only.
namespace StandInHost {

struct Records
{
    MessageAnswerer messageAnswerer;
    DirectoryAnswerer directoryAnswerer;
    ProgressListener progressListener;
    HelpListener helpListener;
    Recorder* recorder = nullptr;
    int guardDepth = 0;
    int guardCount = 0;
};

Records& records();

/// Whether pictures and colours are kept back, see setBare().
bool isBare();

} // namespace StandInHost
