#pragma once

#include "AudioOptions.h"
#include "IAction.h"
#include "VideoOptions.h"

class DestinationDrives;

/// Transcodes video and audio.
class KRX_EXPORT TranscodeAction : public IAction
{
public:
    explicit TranscodeAction(int number);

    QWidget* createWidget() override;
    void writeXml(QDomDocument& doc, QDomElement& parent) override;
    quint32 readXml(const QDomElement& activity) override;
    void setDefaults() override;

private:
    VideoOptions m_video;
    AudioOptions m_audio;
    DestinationDrives* m_drives = nullptr;
};
