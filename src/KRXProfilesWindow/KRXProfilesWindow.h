#pragma once

#include "KRXExport.h"

#include <QDialog>
#include <QList>
#include <QPair>

class CodecBox;
class KRXSettingsController;
class KRXSummaryWidget;
class KRXTwistWidget;
class ProfileActionsController;
class QLabel;
class QScrollArea;

/// The profile editor.
class KRX_EXPORT KRXProfilesWindow : public QDialog
{
    Q_OBJECT

public:
    explicit KRXProfilesWindow(QWidget* parent);

    virtual int runModal();
    virtual void setNewHeight(int height);
    virtual void updateProfilesBox(const QList<QPair<QString, QString>>& items, const QString& currentId);

protected:
    virtual void initXelSettingsValues();
    virtual void updateMultiChannelLabel(QLabel* label);
    virtual void updateKRXWindowInfo();

public slots:
    virtual void updateCodecBox(CodecBox* box);
    virtual void updateEncodingProfileBox(CodecBox* box);
    /// Marks the profile as modified and shows the mark.
    void updateModifiedState();

public:
    void updateHeight();
    QScrollArea* getScrollArea() const { return m_scrollArea; }
    KRXTwistWidget* getCurrentSelectedAction() const { return m_selectedAction; }
    void setCurrentSelectedAction(KRXTwistWidget* action) { m_selectedAction = action; }

private:
    QScrollArea* m_scrollArea = nullptr;
    KRXTwistWidget* m_selectedAction = nullptr;
};
