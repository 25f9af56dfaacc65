#pragma once

#include <QString>

/// Verifies an ASC MHL history the way a person's tool does, years later: the chain, and every file by its
/// content.
namespace HistoryCheck {

/// What is wrong with the history of \a folder, or with the files that it lists; empty when all agrees.
/// \param files how many files it must list.
QString fault(const QString& folder, int files);

} // namespace HistoryCheck
