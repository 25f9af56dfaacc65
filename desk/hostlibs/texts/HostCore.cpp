#include "HostCore.h"

#include "StandInHost.h"

#include <QFile>
#include <QMutex>
#include <QMutexLocker>
#include <QTranslator>

#include <memory>
#include <utility>

namespace {

using Translator = std::function<QString(const QString&)>;

/// What texts are looked up in. Shared by all threads; each look-up works on the copies it took.
struct Texts
{
    QMutex mutex;
    std::shared_ptr<const Translator> translator;
    std::shared_ptr<const QTranslator> language;
};

Texts& texts()
{
    static Texts theTexts;
    return theTexts;
}

std::shared_ptr<const QTranslator> loadLanguage(const QString& language)
{
    const QString path = QStringLiteral(":/stand-in/translations/krx_%1.qm").arg(language);
    if (!QFile::exists(path))
        return nullptr;
    auto translator = std::make_shared<QTranslator>();
    if (!translator->load(path))
        return nullptr;
    return translator;
}

} // namespace

namespace HostCore {

QString translateText(const QString& english)
{
    std::shared_ptr<const Translator> translator;
    std::shared_ptr<const QTranslator> language;
    {
        QMutexLocker lock(&texts().mutex);
        translator = texts().translator;
        language = texts().language;
    }
    if (translator)
        return (*translator)(english);
    if (!language)
        return english;
    const QString translated = language->translate("KRX", english.toUtf8().constData());
    return translated.isEmpty() ? english : translated;
}

QString unicodeFromMultibyte(const char* text)
{
    return text ? QString::fromUtf8(text) : QString();
}

} // namespace HostCore

namespace StandInHost {

void setLanguage(const QString& language)
{
    std::shared_ptr<const QTranslator> loaded = loadLanguage(language);
    QMutexLocker lock(&texts().mutex);
    texts().language.swap(loaded);
}

void setTranslator(std::function<QString(const QString&)> translator)
{
    std::shared_ptr<const Translator> replacement;
    if (translator)
        replacement = std::make_shared<const Translator>(std::move(translator));
    QMutexLocker lock(&texts().mutex);
    texts().translator.swap(replacement);
}

} // namespace StandInHost
