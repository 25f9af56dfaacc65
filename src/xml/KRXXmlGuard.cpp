#include "KRXXmlGuard.h"

#include "KRXXml.h"

#include <QLatin1String>
#include <QStringView>

#include <algorithm>
#include <array>
#include <vector>

namespace KRXXml {

namespace {

/// The entities that XML itself defines.
constexpr std::array<const char*, 5> kEntities = {{"amp", "lt", "gt", "quot", "apos"}};
/// Longer references do not exist ("&#x0010FFFF;" with some leading zeros to spare).
constexpr int kMaxReferenceLength = 24;

bool isCharacter(uint code)
{
    if (code < 0x20)
        return code == 0x09 || code == 0x0A || code == 0x0D;
    return code < 0xD800 || (code > 0xDFFF && code != 0xFFFE && code != 0xFFFF && code <= 0x10FFFF);
}

/// Walks the markup from "<" to "<". Each function takes the position of what it looks at, and gives the position
/// behind it, or null when the text is to be refused.
class MarkupWalk
{
public:
    MarkupWalk(const QString& text, QStringView spanName, std::vector<ElementSpan>* spans)
        : m_begin(text.constData())
        , m_end(text.constData() + text.size())
        , m_spanName(spanName)
        , m_spans(spans)
    {
    }

    bool isSafe()
    {
        const QChar* at = m_begin;
        while (at) {
            at = behindText(at);
            if (at == m_end)
                return true;
            if (at)
                at = behindMarkup(at);
        }
        return false;
    }

private:
    bool startsWith(const QChar* at, QLatin1String start) const
    {
        return QStringView(at, m_end).startsWith(start);
    }

    const QChar* behindNext(const QChar* at, QLatin1String mark) const
    {
        const auto found = QStringView(at, m_end).indexOf(mark);
        return found < 0 ? nullptr : at + found + mark.size();
    }

    const QChar* behindText(const QChar* at) const
    {
        while (at && at < m_end && *at != QLatin1Char('<'))
            at = *at == QLatin1Char('&') ? behindReference(at) : at + 1;
        return at;
    }

    const QChar* behindReference(const QChar* at) const
    {
        const QChar* limit = m_end - at > kMaxReferenceLength ? at + kMaxReferenceLength : m_end;
        const QChar* close = std::find(at, limit, QLatin1Char(';'));
        if (close == limit)
            return nullptr;
        const QStringView name(at + 1, close);
        if (!name.startsWith(QLatin1Char('#'))) {
            const bool known = std::any_of(kEntities.begin(), kEntities.end(),
                                           [&](const char* entity) { return name == QLatin1String(entity); });
            return known ? close + 1 : nullptr;
        }
        const bool hex = name.startsWith(QLatin1String("#x"));
        bool isNumber = false;
        const uint code = name.mid(hex ? 2 : 1).toString().toUInt(&isNumber, hex ? 16 : 10);
        return isNumber && isCharacter(code) ? close + 1 : nullptr;
    }

    const QChar* behindMarkup(const QChar* at)
    {
        if (m_end - at < 2)
            return nullptr;
        switch (at[1].unicode()) {
        case '!':
            if (startsWith(at, QLatin1String("<!--")))
                return behindNext(at + 4, QLatin1String("-->"));
            if (startsWith(at, QLatin1String("<![CDATA[")))
                return behindNext(at + 9, QLatin1String("]]>"));
            return nullptr; // a document type declaration, whatever its case
        case '?':
            return behindNext(at + 2, QLatin1String("?>"));
        case '/':
            return behindEndTag(at);
        default:
            return behindStartTag(at);
        }
    }

    const QChar* behindEndTag(const QChar* at)
    {
        if (--m_depth < 0)
            return nullptr;
        const QChar* behind = behindNext(at + 2, QLatin1String(">"));
        if (behind && m_spanBegin && m_depth == m_spanDepth)
            closeSpan(behind);
        return behind;
    }

    const QChar* behindStartTag(const QChar* start)
    {
        const QChar* behind = endOfTag(start + 1);
        if (!behind)
            return nullptr;
        if (m_spans && !m_spanBegin && isSpanTag(start + 1)) {
            m_spanBegin = start;
            m_spanDepth = m_depth;
        }
        if (behind[-2] == QLatin1Char('/')) {
            if (m_spanBegin == start)
                closeSpan(behind);
            return behind;
        }
        return ++m_depth <= kMaxDepth ? behind : nullptr;
    }

    bool isSpanTag(const QChar* name) const
    {
        const QChar* behind = name + m_spanName.size();
        if (behind >= m_end || QStringView(name, behind) != m_spanName)
            return false;
        return behind->isSpace() || *behind == QLatin1Char('>') || *behind == QLatin1Char('/');
    }

    void closeSpan(const QChar* behind)
    {
        m_spans->push_back({static_cast<int>(m_spanBegin - m_begin), static_cast<int>(behind - m_begin),
                            m_spanDepth == 0});
        m_spanBegin = nullptr;
    }

    const QChar* endOfTag(const QChar* at) const
    {
        // A ">" inside an attribute value does not end the tag.
        QChar quote;
        while (at && at < m_end) {
            const QChar c = *at;
            if (c == QLatin1Char('&')) {
                at = behindReference(at);
                continue;
            }
            if (!quote.isNull()) {
                if (c == quote)
                    quote = QChar();
            } else if (c == QLatin1Char('"') || c == QLatin1Char('\'')) {
                quote = c;
            } else if (c == QLatin1Char('>')) {
                return at + 1;
            }
            ++at;
        }
        return nullptr;
    }

    const QChar* m_begin;
    const QChar* m_end;
    QStringView m_spanName;
    std::vector<ElementSpan>* m_spans;
    int m_depth = 0;
    /// Where the span that the walk is in begins, and how many elements it stands in; null outside spans.
    const QChar* m_spanBegin = nullptr;
    int m_spanDepth = 0;
};

} // namespace

bool isSafeToParse(const QString& text, QStringView spanName, std::vector<ElementSpan>* spans)
{
    return text.size() <= kMaxDocumentLength && canCarry(text) && MarkupWalk(text, spanName, spans).isSafe();
}

} // namespace KRXXml
