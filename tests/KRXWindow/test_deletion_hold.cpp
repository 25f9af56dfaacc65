// What holds a deletion back while a dialog is open, by itself.

#include "KRXDeletionHold.h"

#include <QCoreApplication>
#include <QEvent>
#include <QPointer>
#include <QTest>
#include <QWidget>

class TestDeletionHold : public QObject
{
    Q_OBJECT

private slots:
    void holdEndsWithTheDialog();
    void innerDialogHandsOverToTheOuterOne();
    void nextDialogOfTheSameHandlerHoldsToo_data();
    void nextDialogOfTheSameHandlerHoldsToo();
};

void TestDeletionHold::holdEndsWithTheDialog()
{
    QPointer<QWidget> outer = new QWidget;
    auto* inner = new QWidget(outer);
    // Qt takes a second deleteLater() for a copy of the first while anything is posted to the object.
    QCoreApplication::postEvent(outer, new QEvent(QEvent::User));
    {
        const KRXDeletionHold hold(inner);
        QVERIFY(!hold.isDeletionAsked());
        outer->deleteLater();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(outer);
        QVERIFY(hold.isDeletionAsked());
    }
    QVERIFY(outer);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!outer);
}

void TestDeletionHold::innerDialogHandsOverToTheOuterOne()
{
    QPointer<QWidget> window = new QWidget;
    {
        const KRXDeletionHold outer(window);
        {
            const KRXDeletionHold inner(window);
            window->deleteLater();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QVERIFY(inner.isDeletionAsked());
        }
        QVERIFY(outer.isDeletionAsked());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(window);
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!window);
}

void TestDeletionHold::nextDialogOfTheSameHandlerHoldsToo_data()
{
    QTest::addColumn<bool>("isUnderAnother");
    QTest::newRow("alone") << false;
    QTest::newRow("under a dialog of another window") << true;
}

void TestDeletionHold::nextDialogOfTheSameHandlerHoldsToo()
{
    QFETCH(bool, isUnderAnother);
    QWidget other;
    QPointer<QWidget> window = new QWidget;
    {
        const KRXDeletionHold first(window);
        window->deleteLater();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    {
        // Before the program is back in its event loop.
        const KRXDeletionHold second(window);
        const KRXDeletionHold innermost(isUnderAnother ? &other : nullptr);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(window);
        QVERIFY(second.isDeletionAsked());
    }
    QVERIFY(window);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!window);
}

QTEST_MAIN(TestDeletionHold)
#include "test_deletion_hold.moc"
