#pragma once

#include "base/Outcome.h"

#include <QJsonValue>
#include <QString>

#include <string>
#include <vector>

namespace krxservice {

/// What commands write for people and for programs.
namespace output {

/// Rows in columns that are as wide as their longest text; the last one is as long as it is. Nothing that a
/// text holds makes a new line or speaks to the terminal.
std::string table(const std::vector<std::vector<std::string>>& rows);

/// The same text as a value for programs.
QJsonValue json(const std::string& text);
/// The name of a value: "listens on" becomes "listensOn".
QString key(const std::string& name);

void print(const std::string& text);
/// An object or an array, and a line end.
void print(const QJsonValue& value);
/// Says to a person why it did not work, on one line.
void refuse(const std::string& reason);
/// The same of a service that did not answer as was hoped. \return the exit code.
int refuse(const Refusal& refusal);
/// The exit code alone.
int exitCode(const Refusal& refusal);

/// Seconds as a person says them: "3 d 4 h", "12 min", "5 s".
std::string duration(long long seconds);

} // namespace output

} // namespace krxservice
