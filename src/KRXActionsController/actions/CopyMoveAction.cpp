#include "CopyMoveAction.h"

#include "ActivityTables.h"
#include "CopyToPathWidget.h"
#include "KRXText.h"
#include "KRXXml.h"
#include "OptionLayout.h"

#include <QCheckBox>
#include <QVBoxLayout>

using namespace ActivityTables;

namespace {

constexpr int kBodyHeight = 70;

} // namespace

CopyMoveAction::CopyMoveAction(int number)
    : IAction(ActionType::Copy, number)
{
}

QWidget* CopyMoveAction::createWidget()
{
    if (widget())
        return widget();
    QWidget* options = OptionLayout::makeOptions(kBodyHeight);
    m_folder = new CopyToPathWidget(options);
    m_folder->setObjectName(QLatin1String(kCopyFields[CopyPath].element));
    m_folder->setToolTip(KRXText::localised("Choose the Location Where You Want the files Copied to"));
    m_relink = OptionLayout::makeCheck(
        options, kCopyFields[RelinkAfterCopy].element, KRXText::localised("Auto Relink when complete"),
        KRXText::localised("Automatically Relink Files When Copy is Completed"));
    m_checkIn = OptionLayout::makeCheck(options, kCopyFields[AutoCheckIn].element,
                                        KRXText::localised("Check in to Ledgerhouse"),
                                        KRXText::localised("Checks in assets to Ledgerhouse"));

    QVBoxLayout* column = OptionLayout::columnOf(options);
    column->setSpacing(0);
    column->addWidget(m_folder);
    column->addWidget(m_relink);
    column->addWidget(m_checkIn);
    OptionLayout::allowCompactLines(options);
    return setWidget(options);
}

void CopyMoveAction::writeXml(QDomDocument& doc, QDomElement& parent)
{
    QDomElement activity = doc.createElement(QStringLiteral("activity"));
    activity.setAttribute(QStringLiteral("id"), activityId(getType()));
    activity.setAttribute(QStringLiteral("name"), KRXText::localised("Copy %1").arg(number()));
    parent.appendChild(activity);
    KRXFields::appendSection(doc, activity, kCopy, widget());
}

quint32 CopyMoveAction::readXml(const QDomElement& activity)
{
    for (const QDomElement& section : KRXXml::elementsByTag(activity, QLatin1String(kCopy.element)))
        KRXFields::read(section, kCopyFields, widget());
    return 0;
}

void CopyMoveAction::setDefaults() {}

bool CopyMoveAction::validate(QString& error)
{
    const QString path = m_folder->path();
    if (path.isEmpty()) {
        error = KRXText::localised("Copy to Folder action : Output folder not set !");
        return false;
    }
    if (!KRXXml::canCarry(path)) {
        error = KRXText::localised(
            "Copy to Folder action : The path of the output folder has characters that cannot be stored !");
        return false;
    }
    return true;
}
