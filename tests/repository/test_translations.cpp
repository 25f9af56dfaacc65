#include "KRXTest.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QXmlStreamReader>

namespace {

constexpr int kProgramPatience = 60000;

/// Names that documents carry; the same in every language.
constexpr const char* kTechnicalNames[] = {
    "Mono",
    "RGB 709",
    "YCbCr 601",
    "YCbCr 709",
    "PCM  (MXF OP1a)",
    "MP2  (MXF OP1a)",
    "PCM  (Velo OP-Atom)",
    "MP2  (Velo OP-Atom)",
    "Autodetect Plug-in",
    "Default Profile",
};

struct Message
{
    QString translation;
    bool isFinished = false;
};

using Messages = QHash<QString, Message>;

QString root()
{
    return QStringLiteral(KRX_SOURCE_DIR);
}

Messages readCatalogue(const QString& path, QString& problem)
{
    Messages messages;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        problem = path + QLatin1String(": ") + file.errorString();
        return messages;
    }
    QXmlStreamReader xml(&file);
    QString source;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == QLatin1String("source")) {
            source = xml.readElementText();
        } else if (xml.name() == QLatin1String("translation")) {
            Message message;
            message.isFinished = !xml.attributes().hasAttribute(QLatin1String("type"));
            message.translation = xml.readElementText();
            messages.insert(source, message);
        }
    }
    if (xml.hasError())
        problem = path + QLatin1String(": ") + xml.errorString();
    return messages;
}

QStringList placeholders(const QString& text)
{
    static const QRegularExpression placeholder(QStringLiteral("%[0-9]"));
    QStringList found;
    auto matches = placeholder.globalMatch(text);
    while (matches.hasNext())
        found.append(matches.next().captured());
    found.sort();
    return found;
}

/// The blanks and line breaks that a text ends with.
QString ending(const QString& text)
{
    int length = text.size();
    while (length > 0 && text.at(length - 1).isSpace())
        --length;
    return text.mid(length);
}

} // namespace

class TestTranslations : public QObject
{
    Q_OBJECT

private slots:
    void everyTextOfTheSourcesIsTranslatedInEveryCatalogue_data() { catalogues(); }

    void everyTextOfTheSourcesIsTranslatedInEveryCatalogue()
    {
        QFETCH(QString, path);
        // The tool itself collects the texts, into a copy: what it would add is what is missing.
        QTemporaryDir directory;
        const QString copy = directory.filePath(QFileInfo(path).fileName());
        QVERIFY(QFile::copy(path, copy));
        QProcess tool;
        tool.setProcessChannelMode(QProcess::MergedChannels);
        tool.start(root() + QStringLiteral("/packaging/update-translations"), {copy});
        QVERIFY(tool.waitForFinished(kProgramPatience));
        QVERIFY2(tool.exitStatus() == QProcess::NormalExit && tool.exitCode() == 0,
                 tool.readAll().constData());

        QString problem;
        const Messages wanted = readCatalogue(copy, problem);
        QVERIFY2(problem.isEmpty(), qUtf8Printable(problem));
        QVERIFY2(wanted.contains(QStringLiteral("Select Folder")), "the texts of the sources are not found");
        QStringList missing;
        for (auto message = wanted.cbegin(); message != wanted.cend(); ++message) {
            if (!message->isFinished || message->translation.isEmpty())
                missing.append(QLatin1Char('"') + message.key() + QLatin1Char('"'));
        }
        missing.sort();
        const QString advice =
            QStringLiteral(
                "%1 lacks a translation of:\n  %2\nRun packaging/update-translations and translate them.")
                .arg(QFileInfo(path).fileName(), missing.join(QStringLiteral("\n  ")));
        QVERIFY2(missing.isEmpty(), qUtf8Printable(advice));
    }

    void placeholdersAndEndingsAreThoseOfTheKey_data() { catalogues(); }

    void placeholdersAndEndingsAreThoseOfTheKey()
    {
        QFETCH(QString, path);
        QString problem;
        const Messages messages = readCatalogue(path, problem);
        QVERIFY2(problem.isEmpty(), qUtf8Printable(problem));
        for (auto message = messages.cbegin(); message != messages.cend(); ++message) {
            if (!message->isFinished)
                continue;
            QVERIFY2(placeholders(message->translation) == placeholders(message.key()),
                     qUtf8Printable(message.key()));
            QVERIFY2(ending(message->translation) == ending(message.key()), qUtf8Printable(message.key()));
        }
    }

    void technicalNamesStayAsTheyAreInEveryLanguage_data() { catalogues(); }

    void technicalNamesStayAsTheyAreInEveryLanguage()
    {
        QFETCH(QString, path);
        QString problem;
        const Messages messages = readCatalogue(path, problem);
        for (const char* name : kTechnicalNames) {
            const QString key = QString::fromLatin1(name);
            QVERIFY2(messages.contains(key), name);
            QCOMPARE(messages.value(key).translation, key);
        }
    }

    void theNumberOfACopyStandsAtTheEnd_data() { catalogues(); }

    void theNumberOfACopyStandsAtTheEnd()
    {
        QFETCH(QString, path);
        QString problem;
        const Messages messages = readCatalogue(path, problem);
        QVERIFY(messages.value(QStringLiteral("Copy %1")).translation.endsWith(QLatin1String("%1")));
    }

private:
    static void catalogues()
    {
        QTest::addColumn<QString>("path");
        const QDir folder(root() + QStringLiteral("/desk/hostlibs/texts/translations"));
        const QStringList names = folder.entryList({QStringLiteral("krx_*.ts")}, QDir::Files);
        for (const QString& name : names)
            QTest::newRow(qUtf8Printable(name)) << folder.filePath(name);
        QVERIFY2(names.contains(QStringLiteral("krx_de.ts")), "the German catalogue is gone");
    }
};

QTEST_GUILESS_MAIN(TestTranslations)
#include "test_translations.moc"
