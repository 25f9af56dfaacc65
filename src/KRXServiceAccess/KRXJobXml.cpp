#include "KRXJobXml.h"

#include "KRXXml.h"

#include <QLatin1String>

#include <array>

namespace KRXJobXml {

namespace {

/// One text of a job and the element that carries it.
struct TextField
{
    const char* element;
    QString KRXJob::*member;
};

constexpr std::array<TextField, 5> kInfoTexts = {{
    {"id", &KRXJob::id},
    {"path", &KRXJob::path},
    {"profile", &KRXJob::profile},
    {"groupID", &KRXJob::groupID},
    {"groupName", &KRXJob::groupName},
}};

constexpr std::array<TextField, 2> kStatusTexts = {{
    {"id", &KRXJob::id},
    {"state", &KRXJob::state},
}};

constexpr char kTrue[] = "true";

QStringList textsOf(const QDomNode& root, QLatin1String name)
{
    QStringList texts;
    for (const QDomElement& element : KRXXml::elementsByTag(root, name))
        texts << KRXXml::textOf(element);
    return texts;
}

} // namespace

KRXJob parseJobInfoElement(const QDomElement& element)
{
    KRXJob job;
    KRXXml::readFields(
        element, kInfoTexts,
        [&job](std::size_t field, const QString& text) { job.*kInfoTexts[field].member = text; },
        [&job](const QString& tag, const QDomElement& child) {
            if (tag == QLatin1String("outputXELFiles"))
                job.outputFiles = textsOf(child, QLatin1String("fileName"));
        });
    return job;
}

KRXJob parseJobStatusElement(const QDomElement& element)
{
    KRXJob job;
    KRXXml::readFields(
        element, kStatusTexts,
        [&job](std::size_t field, const QString& text) { job.*kStatusTexts[field].member = text; },
        [&job](const QString& tag, const QDomElement& child) {
            if (tag == QLatin1String("complete"))
                job.complete = KRXXml::textOf(child) == QLatin1String(kTrue);
            else if (tag == QLatin1String("percentComplete"))
                job.percentComplete = KRXXml::textOf(child).toShort();
        });
    return job;
}

QStringList errorMessages(const QDomDocument& document)
{
    return textsOf(document, QLatin1String("errorMessage"));
}

QStringList readyFolderIds(const QDomDocument& document)
{
    QStringList ids;
    for (const QDomElement& folder : KRXXml::elementsByTag(document, QStringLiteral("outputReadyFolder"))) {
        const QDomElement ready = KRXXml::firstElement(folder, QStringLiteral("outputReady"));
        if (KRXXml::textOf(ready) != QLatin1String(kTrue))
            continue;
        const QString uri = KRXXml::textOf(KRXXml::firstElement(folder, QStringLiteral("folderURI")));
        ids << uri.mid(uri.lastIndexOf(QLatin1Char('/')) + 1);
    }
    return ids;
}

QString submission(const QString& path, const QString& profileId)
{
    QDomDocument document = KRXXml::makeDocument();
    QDomElement job = document.createElement(QStringLiteral("jobInfo"));
    document.appendChild(job);
    KRXXml::appendTextElement(document, job, QStringLiteral("path"), path);
    // Unlike in a job that is read back, the profile goes by this longer name here.
    KRXXml::appendTextElement(document, job, QStringLiteral("profileID"), profileId);
    return KRXXml::toText(document);
}

QString stateChange(const QString& state)
{
    QDomDocument document = KRXXml::makeDocument();
    QDomElement status = document.createElement(QStringLiteral("jobStatus"));
    document.appendChild(status);
    KRXXml::appendTextElement(document, status, QStringLiteral("state"), state);
    return KRXXml::toText(document);
}

} // namespace KRXJobXml
