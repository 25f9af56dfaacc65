#pragma once

#include "AudioOptions.h"
#include "IAction.h"
#include "VideoOptions.h"

class DestinationDrives;
class QCheckBox;

/// Consolidates the media onto the destination drives; what cannot be consolidated can be transcoded instead.
class KRX_EXPORT ConsolidateAction : public IAction
{
public:
    explicit ConsolidateAction(int number);

    QWidget* createWidget() override;
    void writeXml(QDomDocument& doc, QDomElement& parent) override;
    quint32 readXml(const QDomElement& activity) override;
    void setDefaults() override;

private:
    QWidget* buildTranscodeGroup(QWidget* options);

    QCheckBox* m_skip = nullptr;
    QCheckBox* m_relinkSkipped = nullptr;
    AudioOptions m_audio;
    QCheckBox* m_fallback = nullptr;
    VideoOptions m_video;
    DestinationDrives* m_drives = nullptr;
};
