#include "MediaCatalogue.h"

#include <QtGlobal>

#include <algorithm>

/// The resource of a static library is only there once somebody asks for it.
static void initResource()
{
    Q_INIT_RESOURCE(catalogue);
}

namespace KRXCatalogue {
namespace {

template <class Entry, class Predicate>
const Entry* findWhere(const QList<Entry>& entries, Predicate predicate)
{
    const auto found = std::find_if(entries.cbegin(), entries.cend(), predicate);
    return found == entries.cend() ? nullptr : &*found;
}

MediaCatalogue readBuiltIn()
{
    initResource();
    MediaCatalogue catalogue;
    QString error;
    // It is compiled in and tested, so this can only fail in the hands of someone who edits it.
    if (!readCatalogue(QStringLiteral(":/catalogue/media.json"), catalogue, error))
        qCritical("The media catalogue cannot be used: %s", qUtf8Printable(error));
    return catalogue;
}

} // namespace

const EncodingProfile* Compression::findProfile(quint32 profileId) const
{
    return findWhere(profiles, [=](const EncodingProfile& profile) { return profile.id == profileId; });
}

const EncodingProfile* Compression::findProfile(const QString& profileName) const
{
    return findWhere(profiles, [&](const EncodingProfile& profile) { return profile.name == profileName; });
}

const ProjectType* MediaCatalogue::findProjectType(int code) const
{
    return findWhere(projectTypes, [=](const ProjectType& type) { return type.code == code; });
}

const ProjectType* MediaCatalogue::findProjectType(const QString& name) const
{
    return findWhere(projectTypes, [&](const ProjectType& type) { return type.name == name; });
}

const Format* MediaCatalogue::findFormat(quint32 identifier) const
{
    return findWhere(formats, [=](const Format& format) { return format.identifier == identifier; });
}

const Format* MediaCatalogue::findFormat(const QString& description) const
{
    return findWhere(formats, [&](const Format& format) { return format.description == description; });
}

const Compression* MediaCatalogue::findCompression(quint32 id) const
{
    return findWhere(compressions, [=](const Compression& compression) { return compression.id == id; });
}

const Compression* MediaCatalogue::findCompression(const QString& name) const
{
    return findWhere(compressions, [&](const Compression& compression) { return compression.name == name; });
}

QList<Compression> MediaCatalogue::compressionsFor(int projectType, int colorSpace) const
{
    QList<Compression> fitting;
    for (const Compression& compression : compressions) {
        const bool typeFits =
            compression.projectTypes.isEmpty() || compression.projectTypes.contains(projectType);
        const bool spaceFits =
            compression.colorSpaces.isEmpty() || compression.colorSpaces.contains(colorSpace);
        if (typeFits && spaceFits)
            fitting.append(compression);
    }
    return fitting;
}

QStringList MediaCatalogue::frameRateTexts() const
{
    QList<double> rates;
    const auto add = [&rates](const FrameRate& rate) {
        if (rate.numerator > 0 && rate.denominator > 0)
            rates.append(double(rate.numerator) / rate.denominator);
    };
    for (const ProjectType& type : projectTypes)
        add(type.rate);
    for (const Format& format : formats)
        add(format.rate);
    std::sort(rates.begin(), rates.end());
    QStringList texts;
    for (const double rate : qAsConst(rates)) {
        // Five significant digits are what people write: 23.976, 29.97, 59.94.
        constexpr int digits = 5;
        const QString text = QString::number(rate, 'g', digits);
        if (texts.isEmpty() || texts.constLast() != text)
            texts.append(text);
    }
    return texts;
}

const MediaCatalogue& builtInCatalogue()
{
    static const MediaCatalogue catalogue = readBuiltIn();
    return catalogue;
}

} // namespace KRXCatalogue
