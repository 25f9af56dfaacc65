#pragma once

#include "KRXExport.h"

#include <QString>
#include <QWidget>

class QPushButton;

/// Picks the destination folder of a copy action: paints the folder and has a button that opens the
/// platform's directory chooser.
class KRX_EXPORT CopyToPathWidget : public QWidget
{
    Q_OBJECT

public:
    explicit CopyToPathWidget(QWidget* parent);

    /// Takes the path, shows it and makes it the tool tip.
    void setPath(const QString& path);
    /// The chosen folder; empty at first.
    QString path() const { return m_path; }

public Q_SLOTS:
    /// Asks for a folder, starting where the last one was chosen in any of these widgets.
    void showFileDialog();

Q_SIGNALS:
    /// The user chose a folder.
    void pathChosen();

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_path;
    QPushButton* m_setButton;
};
