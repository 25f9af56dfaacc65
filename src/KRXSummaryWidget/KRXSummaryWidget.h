#pragma once

#include "KRXExport.h"

#include <QPointer>
#include <QTableWidget>

class KRXTwistWidget;
class QDomDocument;

/// A read-only, two-column digest of one profile: its bins, its link options and what each action will do.
class KRX_EXPORT KRXSummaryWidget : public QTableWidget
{
    Q_OBJECT

public:
    /// \param section the section whose body holds the summary; it is told to lay itself out again when the
    /// summary's height changes. May be null; not owned.
    explicit KRXSummaryWidget(KRXTwistWidget* section);

    /// Rebuilds all rows from a profile document and sets the height to what the rows need.
    virtual void updateSummaryFromXML(QDomDocument& doc);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void setRow(int row, const QString& title, const QString& detail);
    void fitToRows();

    QPointer<KRXTwistWidget> m_section;
};
