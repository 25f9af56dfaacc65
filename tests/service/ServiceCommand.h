#pragma once

#include "ServiceProgram.h"

#include <QJsonDocument>
#include <QProcess>
#include <QString>
#include <QStringList>

/// What a command of the program wrote, and how it ended.
struct CommandResult
{
    int code = -1; ///< -1: it did not come to an end, or crashed
    QString out;
    QString err;

    QJsonDocument json() const { return QJsonDocument::fromJson(out.toUtf8()); }
};

/// Runs the program under test with \a arguments, as a person would in a terminal, in an environment that \a
/// change may have changed.
inline CommandResult runCommand(const QStringList& arguments,
                                const std::function<void(QProcessEnvironment&)>& change = {})
{
    constexpr int kLongest = 60000;
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (change)
        change(environment);
    process.setProcessEnvironment(environment);
    process.start(ServiceProgram::path(), arguments);
    process.closeWriteChannel();
    if (!process.waitForFinished(kLongest) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}
