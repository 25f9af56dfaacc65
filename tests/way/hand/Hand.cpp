// A hand for the desk's program as it is installed, where no display brings events: Qt loads it into any
// program when QT_QPA_GENERIC_PLUGINS names it. It does what a person does who watches one folder,
// KRX_HAND_FOLDER: presses "+", names the folder, enables it with the space bar, and takes clips with Return
// whenever there are some. What a message says goes to standard error.

#include <QApplication>
#include <QFileDialog>
#include <QGenericPlugin>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>

#include <cstdio>

namespace {

constexpr int kBetweenLooks = 50; ///< milliseconds

class Hand : public QObject
{
public:
    Hand()
    {
        connect(&m_timer, &QTimer::timeout, this, &Hand::look);
        m_timer.start(kBetweenLooks);
    }

private:
    void look()
    {
        if (QWidget* modal = QApplication::activeModalWidget())
            answer(modal);
        else
            work();
    }

    /// Nothing is pressed in here: what it opens would have no hand.
    static void press(QObject* target, const char* what)
    {
        QMetaObject::invokeMethod(target, what, Qt::QueuedConnection);
    }
    static void press(QWidget* target, Qt::Key key, const QString& text)
    {
        for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease})
            QApplication::postEvent(target, new QKeyEvent(type, key, Qt::NoModifier, text));
    }

    static void answer(QWidget* modal)
    {
        auto* line = modal->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        if (qobject_cast<QFileDialog*>(modal) && line)
            line->setText(qEnvironmentVariable("KRX_HAND_FOLDER"));
        else if (const auto* box = qobject_cast<QMessageBox*>(modal))
            std::fprintf(stderr, "the desk says: %s\n", qPrintable(box->text()));
        press(modal, "accept");
    }

    void work()
    {
        QTreeWidget* list = nullptr;
        QPushButton* add = nullptr;
        for (QWidget* widget : QApplication::allWidgets()) {
            if (widget->objectName() == QLatin1String("folderViewWidget"))
                list = qobject_cast<QTreeWidget*>(widget);
            else if (widget->objectName() == QLatin1String("addFolderBtn"))
                add = qobject_cast<QPushButton*>(widget);
        }
        if (!list || !add)
            return;
        if (list->topLevelItemCount() == 0) {
            if (add->isEnabled() && add->isVisible())
                press(add, "click");
            return;
        }
        QTreeWidgetItem* row = list->topLevelItem(0);
        list->setCurrentItem(row);
        if (isEnabled(*row, list->columnCount()))
            press(list, Qt::Key_Return, QStringLiteral("\r"));
        else
            press(list, Qt::Key_Space, QStringLiteral(" "));
    }

    static bool isEnabled(const QTreeWidgetItem& row, int columns)
    {
        for (int column = 0; column < columns; ++column) {
            if (row.data(column, Qt::CheckStateRole).toInt() == Qt::Checked)
                return true;
        }
        return false;
    }

    QTimer m_timer;
};

} // namespace

class HandPlugin : public QGenericPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "hand.json")

public:
    QObject* create(const QString&, const QString&) override { return new Hand; }
};

#include "Hand.moc"
