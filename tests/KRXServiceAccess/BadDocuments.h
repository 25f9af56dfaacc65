#pragma once

#include <QByteArray>
#include <QString>
#include <QTest>

/// Answers that are not XML, or not XML that may reach a parser. Rows for data-driven tests with one column,
/// "body".
inline void addBadDocumentRows()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("plain text") << QByteArray("Internal Server Error");
    QTest::newRow("JSON") << QByteArray("{\"folders\":[]}");
    QTest::newRow("HTML") << QByteArray("<!DOCTYPE html><html><body><br>down</body></html>");
    QTest::newRow("HTML without a doctype") << QByteArray("<html><body><br>down</body></html>");
    QTest::newRow("cut short") << QByteArray("<list><xelMediaFolder id=\"1\"><path>/a</pa");
    QTest::newRow("two roots") << QByteArray("<a/><b/>");
    QTest::newRow("text behind the root") << QByteArray("<a/>x");
    QTest::newRow("mismatched") << QByteArray("<a><b></a></b>");
    QTest::newRow("end first") << QByteArray("</a>");
    QTest::newRow("nested entities") << QByteArray(
        "<!DOCTYPE r [<!ENTITY a \"xxxxxxxxxx\"><!ENTITY b \"&a;&a;&a;&a;\">"
        "<!ENTITY c \"&b;&b;&b;&b;\">]><r>&c;</r>");
    QTest::newRow("flat entities") << QByteArray("<!DOCTYPE r [<!ENTITY a \"") + QByteArray(50000, 'x') +
                                          QByteArray("\">]><r>") + QByteArray("&a;").repeated(5000) +
                                          QByteArray("</r>");
    QTest::newRow("external entity") << QByteArray(
        "<!DOCTYPE r [<!ENTITY a SYSTEM \"file:///etc/passwd\">]><r>&a;</r>");
    QTest::newRow("external doctype") << QByteArray("<!DOCTYPE r SYSTEM \"http://localhost:1/x.dtd\"><r/>");
    QTest::newRow("undefined entity") << QByteArray("<r>&nbsp;</r>");
    QTest::newRow("depth 100000") << QByteArray("<a>").repeated(100000) + QByteArray("</a>").repeated(100000);
    QTest::newRow("depth 100000, never closed") << QByteArray("<a>").repeated(100000);
    QTest::newRow("bad UTF-8") << QByteArray("<r><path>/a\xFF\xFE</path></r>");
    QTest::newRow("overlong UTF-8") << QByteArray("<r>\xC0\xBC</r>");
    QTest::newRow("UTF-8 of a surrogate") << QByteArray("<r>\xED\xA0\x80</r>");
    QTest::newRow("UTF-8 cut in a character") << QByteArray("<r/>\xF0\x9F");
    QTest::newRow("NUL") << QByteArray("<r>a\0b</r>", 10);
    QTest::newRow("NUL behind the root") << QByteArray("<r/>\0", 5);
    QTest::newRow("NUL by number") << QByteArray("<r>a&#0;b</r>");
    QTest::newRow("control character") << QByteArray("<r>a\x01"
                                                     "b</r>");
    QTest::newRow("half a pair by number") << QByteArray("<r>&#xD83C;</r>");
    QTest::newRow("no character behind the root") << QByteArray("<r/>\xEF\xBF\xBF<s>");
}

/// Texts that XML cannot carry. Rows for data-driven tests with one column, "text".
inline void addUncarriableTextRows()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("control character") << QStringLiteral("/a\u0001");
    QTest::newRow("NUL") << QString(QStringLiteral("/a") + QChar(0) + QStringLiteral("b"));
    QTest::newRow("lone high surrogate") << QString(QStringLiteral("/a") + QChar(0xD83C));
    QTest::newRow("lone low surrogate") << QString(QChar(0xDFAC) + QStringLiteral("/a"));
    QTest::newRow("U+FFFE") << QString(QChar(0xFFFE));
    QTest::newRow("U+FFFF") << QString(QStringLiteral("/a") + QChar(0xFFFF));
}
