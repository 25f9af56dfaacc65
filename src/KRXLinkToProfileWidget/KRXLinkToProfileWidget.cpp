#include "KRXLinkToProfileWidget.h"

#include "KRXDeletionHold.h"
#include "KRXProfileManager.h"
#include "KRXProfileXml.h"
#include "KRXProfilesWindow.h"
#include "KRXSummaryWidget.h"
#include "KRXText.h"

#include <QComboBox>
#include <QDomDocument>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSizePolicy>
#include <QSpacerItem>
#include <QVariant>

namespace {

constexpr int kSpacing = 3;
constexpr int kBoxWidth = 180;
constexpr int kButtonHeight = 20;

/// Keeps the host's window shut off while it lives. The window may go away meanwhile, which shows when it is
/// a Qt object, as host windows are.
class DisabledHostWindow
{
public:
    explicit DisabledHostWindow(HostManagedWindow* window)
        : m_window(window)
        , m_object(dynamic_cast<QObject*>(window))
        , m_isObject(!m_object.isNull())
    {
        if (m_window)
            m_window->setWindowEnabled(false);
    }
    ~DisabledHostWindow()
    {
        if (m_window && (!m_isObject || m_object))
            m_window->setWindowEnabled(true);
    }
    DisabledHostWindow(const DisabledHostWindow&) = delete;
    DisabledHostWindow& operator=(const DisabledHostWindow&) = delete;

private:
    HostManagedWindow* m_window;
    QPointer<QObject> m_object;
    bool m_isObject;
};

QSpacerItem* stretch()
{
    return new QSpacerItem(0, 0, QSizePolicy::Expanding, QSizePolicy::Minimum);
}

} // namespace

KRXLinkToProfileWidget::KRXLinkToProfileWidget(KRXSummaryWidget* summary, KRXProfilesWindow* profilesWindow,
                                               bool populate, HostManagedWindow* hostWindow, QWidget* parent)
    : QWidget(parent)
    , m_summary(summary)
    , m_profilesBox(new QComboBox(this))
    , m_profilesWindow(profilesWindow)
    , m_hostWindow(hostWindow)
{
    setContentsMargins(0, 0, 0, 0);
    setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Minimum);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(kSpacing);
    row->setSizeConstraint(QLayout::SetFixedSize);

    m_profilesBox->setFixedWidth(kBoxWidth);
    auto* button = new QPushButton(KRXText::localised("Profile Editor"), this);
    button->setFixedHeight(kButtonHeight);
    connect(button, &QPushButton::clicked, this, &KRXLinkToProfileWidget::showProfilesEdotor);

    row->addItem(stretch());
    // The one text of the module that is not looked up.
    row->addWidget(new QLabel(QStringLiteral("Profile:"), this));
    row->addWidget(m_profilesBox);
    row->addWidget(button);
    row->addItem(stretch());

    if (!populate)
        return;
    populateProfileComboBox();
    connect(m_profilesBox, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &KRXLinkToProfileWidget::profileIndexChanged);
    profileIndexChanged(m_profilesBox->currentIndex());
}

KRXLinkToProfileWidget::~KRXLinkToProfileWidget() = default;

QString KRXLinkToProfileWidget::selectedProfileId() const
{
    return m_profilesBox->currentData(Qt::UserRole).toString();
}

void KRXLinkToProfileWidget::populateProfileComboBox()
{
    const QSignalBlocker blocker(m_profilesBox);
    m_profilesBox->clear();
    KRXProfileManager& manager = KRXProfileManager::getInstance();
    manager.refreshProfiles(true);
    const auto items = manager.profileItems();
    for (const QPair<QString, QString>& item : items)
        m_profilesBox->addItem(item.second, item.first);
}

void KRXLinkToProfileWidget::profileIndexChanged(int index)
{
    refreshProfileSummary(m_profilesBox->itemData(index, Qt::UserRole).toString());
}

void KRXLinkToProfileWidget::refreshProfileSummary(const QString& profileId)
{
    if (!m_summary)
        return;
    if (profileId.isEmpty()) {
        m_summary->setRowCount(0);
        return;
    }
    QDomDocument document;
    if (KRXProfileXml::readDocumentOf(profileId, document))
        m_summary->updateSummaryFromXML(document);
}

void KRXLinkToProfileWidget::showProfilesEdotor()
{
    // A visible editor runs already.
    if (!m_profilesWindow || m_profilesWindow->isVisible())
        return;
    KRXProfileManager& manager = KRXProfileManager::getInstance();
    manager.refreshProfiles(true);
    const QString formerId = selectedProfileId();
    if (!offerProfiles(manager.profileItems(), formerId))
        return;
    const QPointer<KRXLinkToProfileWidget> self(this);
    runEditor();
    if (!self)
        return;
    populateProfileComboBox();
    const int former =
        m_profilesBox->findData(formerId, Qt::UserRole, Qt::MatchExactly | Qt::MatchCaseSensitive);
    m_profilesBox->setCurrentIndex(qMax(0, former));
}

/// Gives the editor its profiles and has it load one, which may open a notice. \return false when the editor
/// or this widget is gone or going by then.
bool KRXLinkToProfileWidget::offerProfiles(const QList<QPair<QString, QString>>& items, const QString& id)
{
    const KRXDeletionHold holdEditor(m_profilesWindow);
    const KRXDeletionHold hold(this);
    const QPointer<KRXLinkToProfileWidget> self(this);
    m_profilesWindow->updateProfilesBox(items, id);
    return self && m_profilesWindow && !hold.isDeletionAsked() && !holdEditor.isDeletionAsked();
}

void KRXLinkToProfileWidget::runEditor()
{
    const DisabledHostWindow disabled(m_hostWindow);
    // An editor that is a child of the disabled window would be disabled with it.
    m_profilesWindow->setEnabled(true);
    m_profilesWindow->runModal();
}
