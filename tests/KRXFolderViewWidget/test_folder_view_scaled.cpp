// The folder list on a screen of twice the resolution.

#include "FolderViewFixture.h"
#include "HostQtShell.h"

#include <QTest>

using View = KRXFolderViewWidget;

class TestFolderViewScaled : public QObject
{
    Q_OBJECT

private slots:
    void iconAreaIsMeasuredInTheScreensUnits();
};

void TestFolderViewScaled::iconAreaIsMeasuredInTheScreensUnits()
{
    const QPixmap icon = HostQtShell::skinnedPixmap("NoIngest.png"_s, "icons/KRX"_s);
    QCOMPARE(icon.devicePixelRatio(), 2.0);
    const QSize size = icon.size() / 2;
    QVERIFY(size.width() >= 16);
    FolderViewFixture f;
    f.showTwoFolders();
    const QRect cell = f.cell("a"_s, View::kIdxIngestColumn);
    QRect area(QPoint(), size);
    area.moveCenter(cell.center());
    const auto reacts = [&f](int x) { return f.acquiresAt("a"_s, x); };
    QVERIFY(reacts(area.left()));
    QVERIFY(reacts(area.right()));
    QVERIFY(!reacts(area.left() - 1));
    QVERIFY(!reacts(area.right() + 1));
}

int main(int argc, char** argv)
{
    // Before there is an application.
    qputenv("QT_SCALE_FACTOR", "2");
    QApplication application(argc, argv);
    TestFolderViewScaled test;
    return QTest::qExec(&test, argc, argv);
}
#include "test_folder_view_scaled.moc"
