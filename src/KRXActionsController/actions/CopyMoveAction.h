#pragma once

#include "IAction.h"

class CopyToPathWidget;
class QCheckBox;

/// Copies the files to a folder.
class KRX_EXPORT CopyMoveAction : public IAction
{
public:
    explicit CopyMoveAction(int number);

    QWidget* createWidget() override;
    void writeXml(QDomDocument& doc, QDomElement& parent) override;
    quint32 readXml(const QDomElement& activity) override;
    /// Does nothing: a new action has no folder and nothing checked.
    void setDefaults() override;
    /// Fails without a folder, and for a folder whose path no document can carry.
    bool validate(QString& error) override;

private:
    CopyToPathWidget* m_folder = nullptr;
    QCheckBox* m_relink = nullptr;
    QCheckBox* m_checkIn = nullptr;
};
