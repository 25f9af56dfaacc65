#pragma once

#include <QAbstractItemModelTester>
#include <QIdentityProxyModel>
#include <QTreeWidget>

#include <memory>

namespace KRXTest {

/// What a tree widget's model holds and tells, but for one thing that Qt's own does and its tester refuses:
/// it shows the children of a row below each of the row's columns.
class ChildrenInFirstColumn : public QIdentityProxyModel
{
public:
    using QIdentityProxyModel::QIdentityProxyModel;
    int rowCount(const QModelIndex& parent = {}) const override
    {
        return parent.column() > 0 ? 0 : QIdentityProxyModel::rowCount(parent);
    }
    bool hasChildren(const QModelIndex& parent = {}) const override
    {
        return parent.column() <= 0 && QIdentityProxyModel::hasChildren(parent);
    }
};

/// Has a view's model checked for soundness at each of its changes, for as long as the view lives.
inline void watchModel(QAbstractItemView* view)
{
    QAbstractItemModel* model = view->model();
    if (qobject_cast<QTreeWidget*>(view)) {
        auto* proxy = new ChildrenInFirstColumn(model);
        proxy->setSourceModel(model);
        model = proxy;
    }
    auto* tester =
        new QAbstractItemModelTester(model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    // A model that goes says so once more, when it cannot be asked any longer.
    QObject::connect(view, &QObject::destroyed, tester,
                     [tester] { const std::unique_ptr<QAbstractItemModelTester> gone(tester); });
}

} // namespace KRXTest
