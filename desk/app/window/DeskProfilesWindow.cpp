#include "DeskProfilesWindow.h"

#include "MultichannelDialog.h"
#include "TryItDialog.h"

#include "CodecBox.h"
#include "KRXLinkOptionsSettings.h"
#include "KRXSettingsController.h"
#include "KRXZorMetadata.h"

#include "HostMediaEngine.h"
#include "HostQtShell.h"
#include "StandInMedia.h"

#include <QComboBox>
#include <QLabel>
#include <QLayout>
#include <QPointer>
#include <QPushButton>
#include <QResizeEvent>
#include <QScreen>
#include <QSignalBlocker>
#include <QWindow>

#include <algorithm>

namespace {

/// How many changes of height the window system may still have to confirm.
constexpr int kHeightsOnTheirWay = 8;

void fillRates(QComboBox* box)
{
    if (!box)
        return;
    const QSignalBlocker blocker(box);
    box->clear();
    // A profile stores the data of some of these boxes and is read by the text of others, so both agree.
    const QStringList rates = StandInHost::frameRateTexts();
    for (const QString& rate : rates)
        box->addItem(rate, rate);
}

/// The project type that codecs are looked up for: what is chosen, or what the chosen custom format amounts
/// to.
int chosenProjectType(const CodecBox* box)
{
    const QComboBox* types = box->getProjectTypeBox();
    HostMediaEngine::CustomFormat format;
    if (HostMediaEngine::currentProjectType() == customFormatProjectType &&
        HostMediaEngine::findFormatByDescription(types->currentText(), format))
        return format.projectType;
    return types->currentData().toInt();
}

/// Selects the item with that data, else the first one.
void selectData(QComboBox* box, const QVariant& wanted)
{
    box->setCurrentIndex(std::max(0, box->findData(wanted)));
}

} // namespace

DeskProfilesWindow::DeskProfilesWindow(QWidget* parent)
    : KRXProfilesWindow(parent)
    , m_tryIt(new QPushButton(tr("Try It..."), this))
{
    // It stands beside the editor's own buttons, in no layout: their heights are reckoned without it.
    m_tryIt->setObjectName(QStringLiteral("tryItBtn"));
    m_tryIt->setAutoDefault(false);
    m_tryIt->setToolTip(tr("Shows what the saved profile would do to a file, and does nothing"));
    connect(m_tryIt, &QPushButton::clicked, this, [this] {
        TryItDialog::run(getProfilesBox()->currentData().toString(), getProfileState()->isModified(), this);
    });
    // The boxes must be filled before the first profile is loaded into them.
    DeskProfilesWindow::initXelSettingsValues();
}

void DeskProfilesWindow::setNewHeight(int height)
{
    if (m_hasPersonsHeight)
        return;
    const int frameBelow = frameGeometry().bottom() - geometry().bottom();
    const int room = screen()->availableGeometry().bottom() - frameBelow - geometry().top() + 1;
    KRXProfilesWindow::setNewHeight(std::max(std::min(height, room), minimumSizeHint().height()));
}

void DeskProfilesWindow::resizeEvent(QResizeEvent* event)
{
    KRXProfilesWindow::resizeEvent(event);
    placeTryIt();
    // A late event tells an old size; the window's own is the present one.
    if (!event->spontaneous()) {
        m_ownHeights.append(height());
        if (m_ownHeights.size() > kHeightsOnTheirWay)
            m_ownHeights.removeFirst();
    } else if (!m_ownHeights.contains(height())) {
        m_hasPersonsHeight = true;
    }
}

void DeskProfilesWindow::placeTryIt()
{
    const auto* cancel = findChild<QPushButton*>(QStringLiteral("KRX_CancelBtn"));
    // The layout places the editor's buttons after this event.
    const QMargins margins = layout()->contentsMargins();
    const QSize size = cancel ? m_tryIt->sizeHint().expandedTo(cancel->sizeHint()) : m_tryIt->sizeHint();
    m_tryIt->setGeometry(margins.left(), height() - margins.bottom() - size.height(), size.width(),
                         size.height());
}

void DeskProfilesWindow::initXelSettingsValues()
{
    const KRXSettingsController* settings = getSettingsController();
    if (const auto* link =
            dynamic_cast<KRXLinkOptionsSettings*>(settings->getSettingsByType(LinkOptionsSettings))) {
        fillRates(link->getAudioStartTimeBox());
        fillRates(link->getStillImageBox());
    }
    if (const auto* zor = dynamic_cast<KRXZorMetadata*>(settings->getSettingsByType(ZorMetadataSettings)))
        fillRates(zor->getDefaultFPSBox());
}

void DeskProfilesWindow::updateMultiChannelLabel(QLabel* label)
{
    if (!label)
        return;
    const QString stored = label->property(KRXLinkOptionsSettings::kGroupingProperty).toString();
    MultichannelDialog dialog(stored, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    const HostMediaEngine::ChannelGroups groups =
        HostMediaEngine::channelGroupsFromText(dialog.groupingText());
    if (groups.persistentText == stored)
        return;
    label->setProperty(KRXLinkOptionsSettings::kGroupingProperty, groups.persistentText);
    label->setText(groups.displayText);
    updateModifiedState();
}

void DeskProfilesWindow::updateKRXWindowInfo()
{
    emit profilesChanged();
}

bool DeskProfilesWindow::mayLeaveProfile(const QString& profileName)
{
    const QPointer<DeskProfilesWindow> self(this);
    const auto answer =
        HostQtShell::showManagedMessageBox(this, QMessageBox::Question, tr("Profile not saved"),
                                           tr("Discard the changes to %1?").arg(profileName),
                                           QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
    if (!self || answer != QMessageBox::Yes)
        return false;
    getProfileState()->setModified(false);
    return true;
}

void DeskProfilesWindow::updateCodecBox(CodecBox* box)
{
    if (!box)
        return;
    const QVariant former = box->currentData();
    const QList<StandInHost::Compression> compressions =
        StandInHost::compressionsFor(chosenProjectType(box), box->getColorSpaceBox()->currentData().toInt());
    {
        const QSignalBlocker blocker(box);
        box->clear();
        for (const StandInHost::Compression& compression : compressions)
            box->addItem(compression.name, compression.id);
        const bool keeps = former.isValid() && box->findData(former) >= 0;
        selectData(box, keeps ? former : QVariant(HostMediaEngine::defaultCompressionId()));
    }
    updateEncodingProfileBox(box);
}

void DeskProfilesWindow::updateEncodingProfileBox(CodecBox* box)
{
    if (!box)
        return;
    QComboBox* profiles = box->getEncodingProfileBox();
    const QVariant former = profiles->currentData();
    const quint32 codec = box->currentData().toUInt();
    const QSignalBlocker blocker(profiles);
    profiles->clear();
    for (const StandInHost::Compression& compression : StandInHost::catalogue().compressions) {
        if (compression.id != codec)
            continue;
        for (const StandInHost::EncodingProfile& profile : compression.profiles)
            profiles->addItem(profile.name, profile.id);
    }
    if (profiles->count() > 0)
        selectData(profiles, former);
    profiles->setEnabled(profiles->count() > 1);
}
