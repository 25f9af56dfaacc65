#include "Bench.h"

#include "KRXFolderManager.h"
#include "KRXFolderViewWidget.h"
#include "KRXProfileManager.h"
#include "TestHttpServer.h"

#include <QHeaderView>
#include <QSet>
#include <QTreeWidget>

#include <cstdlib>

namespace KRXBench {

namespace {

class View : public KRXFolderViewWidget
{
public:
    View()
        : KRXFolderViewWidget(nullptr)
    {
    }
    using KRXFolderViewWidget::fillRows;
};

/// A bare tree widget that is given the texts and roles that \a view shows, sorted alike.
void fillBareTree(QTreeWidget& tree, const QTreeWidget& view)
{
    tree.clear();
    tree.setSortingEnabled(false);
    QList<QTreeWidgetItem*> items;
    items.reserve(view.topLevelItemCount());
    const QIcon icon = view.topLevelItem(0)->icon(KRXFolderViewWidget::kIdxFolderColumn);
    for (int i = 0; i < view.topLevelItemCount(); ++i) {
        const QTreeWidgetItem* row = view.topLevelItem(i);
        auto* item = new QTreeWidgetItem;
        item->setData(KRXFolderViewWidget::kIdxIngestColumn, Qt::UserRole, 0);
        item->setCheckState(KRXFolderViewWidget::kIdxActiveColumn,
                            row->checkState(KRXFolderViewWidget::kIdxActiveColumn));
        const int folder = KRXFolderViewWidget::kIdxFolderColumn;
        item->setIcon(folder, icon);
        item->setText(folder, row->text(folder));
        item->setData(folder, Qt::UserRole, row->data(folder, Qt::UserRole));
        item->setData(folder, KRXFolderViewWidget::kFolderExistRole, true);
        const int profile = KRXFolderViewWidget::kIdxProfileColumn;
        item->setText(profile, row->text(profile));
        item->setData(profile, Qt::UserRole, row->data(profile, Qt::UserRole));
        item->setText(KRXFolderViewWidget::kIdxBinColumn, row->text(KRXFolderViewWidget::kIdxBinColumn));
        item->setText(KRXFolderViewWidget::kIdxPathColumn, row->text(KRXFolderViewWidget::kIdxPathColumn));
        items << item;
    }
    tree.addTopLevelItems(items);
    tree.setSortingEnabled(true);
}

void measureFill(Table& table, TestHttpServer& server)
{
    const QString work = QStringLiteral("fillView after the refresh");
    server.setReply("GET", "/KRXService/profiles?level=detail", 200, profileListDocument(50));
    KRXProfileManager::getInstance().refreshProfiles(true);
    View view;
    view.resize(900, 180);
    view.show();
    QTreeWidget tree;
    tree.setColumnCount(6);
    tree.setUniformRowHeights(true);
    tree.sortByColumn(KRXFolderViewWidget::kIdxFolderColumn, Qt::AscendingOrder);
    tree.resize(900, 180);
    tree.show();
    for (int n : {1000, 10000, 50000}) {
        server.setReply("GET", "/KRXService/xelmediafolders?level=detail", 200, folderListDocument(n));
        if (!KRXFolderManager::getInstance().refreshFolders(true))
            qFatal("the measure means nothing: no folders");
        view.fillRows();
        const Pair time = medianPairMs(
            5, [&] { view.fillRows(); }, [&] { fillBareTree(tree, view); });
        Row& row = table.add(work, n, time.ours, time.floor);
        if (n < 50000) {
            row.must = QStringLiteral("ratio <= 2");
            row.met = row.ours / row.floor <= 2;
        } else {
            // Both sort: five times the rows cost the bare tree more than five times the time, too.
            row.must = QStringLiteral("as linear as the bare tree (growth <= 1.3 x floor's)");
            row.met = row.growth <= 1.3 * table.floorGrowth(work);
        }
    }
}

void measureReadyState(Table& table, TestHttpServer& server)
{
    const QString work = QStringLiteral("updateOutputsReadyState, as many ids");
    View view;
    view.show();
    for (int n : {1000, 10000}) {
        server.setReply("GET", "/KRXService/xelmediafolders?level=detail", 200, folderListDocument(n));
        KRXFolderManager::getInstance().refreshFolders(true);
        view.fillRows();
        view.setCurrentItem(view.topLevelItem(0));
        QStringList ids;
        for (int i = 0; i < n; ++i)
            ids << KRXFolderViewWidget::getFolderId(view.topLevelItem(i));
        bool ready = false;
        const Pair time = medianPairMs(
            7, [&] { view.updateOutputsReadyState((ready = !ready) ? ids : QStringList()); },
            [&] {
                const QSet<QString> wanted(ids.begin(), ids.end());
                int found = 0;
                for (const QString& id : qAsConst(ids))
                    found += wanted.contains(id) ? 1 : 0;
                if (found != n)
                    std::abort();
            });
        Row& row = table.add(work, n, time.ours, time.floor);
        if (n == 10000) {
            row.must = QStringLiteral("<= 20 ms, linear (growth <= 15)");
            row.met = row.ours <= 20 && row.growth <= 15;
        }
    }
}

} // namespace

void measureFolderView(Table& table)
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    measureFill(table, server);
    measureReadyState(table, server);
    KRXFolderManager::cleanup();
    KRXProfileManager::cleanup();
}

} // namespace KRXBench
