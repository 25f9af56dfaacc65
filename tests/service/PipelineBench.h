#pragma once

#include "activities/Pipeline.h"
#include "app/Invariants.h"
#include "media/OutputArea.h"
#include "store/ClipStore.h"
#include "store/Database.h"
#include "store/ErrorStore.h"
#include "store/FolderStore.h"

#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>

#include <string>
#include <vector>

using namespace krxservice;

/// A pipeline on a fresh data folder.
struct PipelineBench
{
    QTemporaryDir folder;
    Database database{folder.path().toStdString() + "/db"};
    ClipStore clips{database};
    ErrorStore errors{database};
    FolderStore folders{database};
    OutputArea outputs{folder.path().toStdString() + "/output"};
    Pipeline pipeline{database, clips, errors, outputs};

    PipelineBench()
    {
        FolderRecord record;
        record.path = "/in";
        record.canonical = "/in";
        folders.create(record); // f000001
    }

    /// Each test that uses it is one of what must never be, too.
    ~PipelineBench()
    {
        if (const QStringList found = faults(); !found.isEmpty())
            QTest::qFail(qPrintable(found.join(QLatin1String("; "))), __FILE__, __LINE__);
    }
    PipelineBench(const PipelineBench&) = delete;
    PipelineBench& operator=(const PipelineBench&) = delete;

    /// What must never be and is.
    QStringList faults()
    {
        QStringList found;
        for (const auto& fault : invariants::faults(database, folder.path().toStdString() + "/output"))
            found << QString::fromStdString(fault);
        return found;
    }

    FileOrder order(const std::string& path) const
    {
        FileOrder order;
        order.ownerKind = "folder";
        order.ownerId = "f000001";
        order.ownerPath = "/in";
        order.path = path;
        order.profile.name = "P";
        order.cancel = makeCancelToken();
        return order;
    }
    /// The record of a file of which work was begun.
    ClipRecord begin(const std::string& path)
    {
        ClipRecord record;
        record.owner = "f000001";
        record.path = path;
        return *clips.begin(record, [&](std::int64_t id) { return OutputArea::fileName(id, path); });
    }
    std::vector<std::string> listed() { return outputs.list("f000001"); }

    static ActivityRecipe copyTo(const QString& folder, bool relink = false)
    {
        ActivityRecipe copy;
        copy.id = "copy";
        copy.destination = folder.toStdString();
        copy.relinkAfterCopy = relink;
        return copy;
    }
};
