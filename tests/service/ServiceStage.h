#pragma once

#include "ServiceProgram.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

/// How long anything may take in these tests, in milliseconds.
constexpr int kStagePatience = 30000;

/// A service with one enabled folder.
struct ServiceStage
{
    QTemporaryDir folder;
    std::unique_ptr<ServiceProgram> service = std::make_unique<ServiceProgram>();
    QString watch = folder.filePath(QStringLiteral("watch"));
    QString data = folder.filePath(QStringLiteral("data"));
    QString id;

    bool begin(const QByteArray& activities = {})
    {
        if (!QDir().mkpath(watch) || !service->start(data))
            return false;
        QString profile = service->profileId(QStringLiteral("Default Profile"));
        if (!activities.isEmpty()) {
            service->post("profiles", ModuleDocument::createProfile(QStringLiteral("Copying"), activities));
            profile = service->profileId(QStringLiteral("Copying"));
        }
        id = service->addFolder(watch, profile);
        return !id.isEmpty();
    }
    bool again(const QStringList& more = {})
    {
        service = std::make_unique<ServiceProgram>();
        return service->start(data, more);
    }
    QString drop(const QString& name, const char* media = "sound.wav") const
    {
        const QString path = watch + QLatin1Char('/') + name;
        return QFile::copy(TestMedia::file(QString::fromUtf8(media)), path) ? path : QString();
    }
    QStringList outputs() const { return service->outputs(id); }
    bool isIdle() const
    {
        return service->get("activity").text(QStringLiteral("status")) == QLatin1String("StatusIdle");
    }
    /// Proves that all that lies in the folder has been judged: a file dropped now has gone the whole
    /// way.
    bool marked(const QString& name) const
    {
        if (drop(name).isEmpty())
            return false;
        QElapsedTimer timer;
        timer.start();
        while (outputs().filter(name).isEmpty() && timer.elapsed() < kStagePatience)
            QTest::qWait(10);
        return !outputs().filter(name).isEmpty();
    }
};
