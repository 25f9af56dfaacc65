#pragma once

#include <QDialog>

class QTextBrowser;

/// Shows the help text of one topic.
class HelpDialog : public QDialog
{
    Q_OBJECT

public:
    explicit HelpDialog(QWidget* parent);

    /// An unknown topic shows the list of contents.
    void showTopic(const QString& topic);

private:
    QTextBrowser* m_text;
};
