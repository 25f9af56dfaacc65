#pragma once

#include "IKRXXelSettings.h"

class QComboBox;
class QLabel;
class QPushButton;

/// How audio tracks are grouped, and the rates for Broadcast Wave files and still images.
class KRX_EXPORT KRXLinkOptionsSettings : public IKRXXelSettings
{
public:
    /// The dynamic property of the grouping label with the grouping's persistent text. Whoever sets it shows
    /// the grouping's display form as the label's text.
    static constexpr char kGroupingProperty[] = "PersistentStringRepresentation";

    QWidget* createWidget() override;
    XelSettingsType settingsType() const override { return LinkOptionsSettings; }
    void writeXml(QDomDocument* doc, QDomElement& parent) override;
    void readXml(const QDomElement& root) override;

    // What a host's profile editor fills. All of them are null before createWidget() and owned by its widget.

    /// Shows the grouping of audio tracks.
    virtual QLabel* getMultichannelLabel() const;
    /// The rates for Broadcast Wave files; the data of an item is what a profile stores. Empty at first.
    virtual QComboBox* getAudioStartTimeBox() const;
    /// The rates for still images; the text of an item is what a profile stores. Empty at first.
    virtual QComboBox* getStillImageBox() const;

    /// Opens the host's editor of groupings; whoever owns that editor connects it.
    QPushButton* getEditButton() const { return m_editButton; }

private:
    QLabel* m_multichannelLabel = nullptr;
    QPushButton* m_editButton = nullptr;
    QComboBox* m_audioStartTimeBox = nullptr;
    QComboBox* m_stillImageBox = nullptr;
};
