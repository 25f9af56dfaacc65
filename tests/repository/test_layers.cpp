#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QHash>
#include <QRegularExpression>
#include <QtTest>

namespace {

/// The folders of the module from the ground floor up; folders in one line stand on the same floor.
const QList<QStringList>& floors()
{
    static const QList<QStringList> list = {
        {QStringLiteral("xml"), QStringLiteral("text"), QStringLiteral("fields"),
         QStringLiteral("KRXTwistWidget")},
        {QStringLiteral("KRXServiceAccess")},
        {QStringLiteral("KRXXelSettings")},
        {QStringLiteral("KRXActionsController")},
        {QStringLiteral("KRXSummaryWidget"), QStringLiteral("KRXFolderViewWidget")},
        {QStringLiteral("KRXProfilesWindow")},
        {QStringLiteral("KRXWindow"), QStringLiteral("KRXLinkToProfileWidget")},
    };
    return list;
}

QString contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QString root()
{
    return QStringLiteral(KRX_SOURCE_DIR);
}

/// The folder of the module that a file stands in, whichever room of it.
QString folderOf(const QFileInfo& file)
{
    return QDir(root() + QStringLiteral("/src"))
        .relativeFilePath(file.filePath())
        .section(QLatin1Char('/'), 0, 0);
}

} // namespace

/// Who may know whom: the house rules that the compiler does not see.
class TestLayers : public QObject
{
    Q_OBJECT

private:
    struct Include
    {
        QString from; ///< file name
        QString fromFolder;
        QString to;
        QString toFolder;
    };

    QHash<QString, QString> m_folderOfHeader;
    QList<Include> m_includes;

    static int floorOf(const QString& folder)
    {
        for (int i = 0; i < floors().size(); ++i) {
            if (floors()[i].contains(folder))
                return i;
        }
        return -1;
    }

private slots:
    void initTestCase()
    {
        QDirIterator headers(root() + QStringLiteral("/src"), {QStringLiteral("*.h")}, QDir::Files,
                             QDirIterator::Subdirectories);
        while (headers.hasNext()) {
            const QFileInfo header(headers.next());
            m_folderOfHeader.insert(header.fileName(), folderOf(header));
        }
        const QRegularExpression include(QStringLiteral("^#include \"([^\"]+)\""),
                                         QRegularExpression::MultilineOption);
        QDirIterator sources(root() + QStringLiteral("/src"),
                             {QStringLiteral("*.h"), QStringLiteral("*.cpp")}, QDir::Files,
                             QDirIterator::Subdirectories);
        while (sources.hasNext()) {
            const QFileInfo source(sources.next());
            auto found = include.globalMatch(contents(source.filePath()));
            while (found.hasNext()) {
                const QString to = found.next().captured(1);
                m_includes.append({source.fileName(), folderOf(source), to, m_folderOfHeader.value(to)});
            }
        }
        QVERIFY(m_includes.size() > 50);
    }

    void everyFolderOfTheModuleHasAFloor()
    {
        for (const QString& folder :
             QDir(root() + QStringLiteral("/src")).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
            QVERIFY2(floorOf(folder) >= 0, qPrintable(folder));
    }

    void headersPointDownOnly()
    {
        for (const Include& include : qAsConst(m_includes)) {
            if (!include.from.endsWith(QLatin1String(".h")) || include.toFolder.isEmpty())
                continue;
            QVERIFY2(floorOf(include.toFolder) <= floorOf(include.fromFolder),
                     qPrintable(QStringLiteral("%1 includes %2").arg(include.from, include.to)));
        }
    }

    void everyBackArrowIsListed()
    {
        const QString architecture = contents(root() + QStringLiteral("/docs/architecture.md"));
        for (const Include& include : qAsConst(m_includes)) {
            if (include.toFolder.isEmpty() || floorOf(include.toFolder) <= floorOf(include.fromFolder))
                continue;
            const QString arrow = QStringLiteral("`%1` → `%2`").arg(include.from, include.to);
            QVERIFY2(architecture.contains(arrow),
                     qPrintable(QStringLiteral("docs/architecture.md does not list %1").arg(arrow)));
        }
    }

    void theModuleKnowsNothingOfTheDeskAndTheService()
    {
        QStringList others;
        for (const QString& folder : {QStringLiteral("/desk"), QStringLiteral("/service")}) {
            QDirIterator headers(root() + folder, {QStringLiteral("*.h")}, QDir::Files,
                                 QDirIterator::Subdirectories);
            while (headers.hasNext())
                others << QFileInfo(headers.next()).fileName();
        }
        QVERIFY(others.contains(QStringLiteral("StandInHost.h")));
        for (const Include& include : qAsConst(m_includes)) {
            QVERIFY2(!others.contains(include.to) || m_folderOfHeader.contains(include.to),
                     qPrintable(QStringLiteral("%1 includes %2").arg(include.from, include.to)));
        }
    }

    void theServiceKnowsNothingOfTheRest()
    {
        QStringList others;
        for (const QString& folder :
             {QStringLiteral("/desk"), QStringLiteral("/src"), QStringLiteral("/host")}) {
            QDirIterator headers(root() + folder, {QStringLiteral("*.h")}, QDir::Files,
                                 QDirIterator::Subdirectories);
            while (headers.hasNext())
                others << QFileInfo(headers.next()).fileName();
        }
        QStringList own;
        QDirIterator ownHeaders(root() + QStringLiteral("/service"), {QStringLiteral("*.h")}, QDir::Files,
                                QDirIterator::Subdirectories);
        while (ownHeaders.hasNext())
            own << QFileInfo(ownHeaders.next()).fileName();
        const QRegularExpression include(QStringLiteral("^#include \"(?:[^\"]*/)?([^\"/]+)\""),
                                         QRegularExpression::MultilineOption);
        QDirIterator sources(root() + QStringLiteral("/service"),
                             {QStringLiteral("*.h"), QStringLiteral("*.cpp")}, QDir::Files,
                             QDirIterator::Subdirectories);
        while (sources.hasNext()) {
            const QString source = sources.next();
            auto found = include.globalMatch(contents(source));
            while (found.hasNext()) {
                const QString to = found.next().captured(1);
                QVERIFY2(own.contains(to) || !others.contains(to),
                         qPrintable(QStringLiteral("%1 includes %2").arg(source, to)));
            }
        }
    }

    void noSourceIsLongerThanSixHundredLines()
    {
        for (const QString& folder : {QStringLiteral("/src"), QStringLiteral("/desk"),
                                      QStringLiteral("/service"), QStringLiteral("/host")}) {
            QDirIterator sources(root() + folder, {QStringLiteral("*.h"), QStringLiteral("*.cpp")},
                                 QDir::Files, QDirIterator::Subdirectories);
            while (sources.hasNext()) {
                const QString source = sources.next();
                QVERIFY2(contents(source).count(QLatin1Char('\n')) <= 600, qPrintable(source));
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestLayers)
#include "test_layers.moc"
