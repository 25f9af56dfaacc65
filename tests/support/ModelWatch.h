#pragma once

#include <QAbstractItemModelTester>
#include <QAbstractItemView>

#include <memory>

namespace KRXTest {

/// Has a view's model checked for soundness at each of its changes, for as long as the view lives.
inline void watchModel(QAbstractItemView* view)
{
    auto* tester =
        new QAbstractItemModelTester(view->model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    // A model that goes says so once more, when it cannot be asked any longer.
    QObject::connect(view, &QObject::destroyed, tester,
                     [tester] { const std::unique_ptr<QAbstractItemModelTester> gone(tester); });
}

} // namespace KRXTest
