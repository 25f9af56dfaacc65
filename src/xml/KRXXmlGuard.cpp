#include "KRXXmlGuard.h"

#include "KRXXml.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <string_view>

namespace KRXXml {

namespace {

/// The entities that XML itself defines.
constexpr std::array<std::string_view, 5> kEntities = {{"amp", "lt", "gt", "quot", "apos"}};
/// The longest reference that is read, from "&" to ";". Only leading zeros could make one longer.
constexpr int kMaxReferenceLength = 24;

bool isCharacter(long code)
{
    if (code < 0x20)
        return code == 0x09 || code == 0x0A || code == 0x0D;
    return code < 0xD800 || (code > 0xDFFF && code != 0xFFFE && code != 0xFFFF && code <= 0x10FFFF);
}

/// Whether "amp", "#38" or "#x26" stands for a character.
bool isReference(std::string_view name)
{
    if (name.empty() || name.front() != '#')
        return std::find(kEntities.begin(), kEntities.end(), name) != kEntities.end();
    const bool hex = name.size() > 1 && name[1] == 'x';
    name.remove_prefix(hex ? 2 : 1);
    const std::string_view digits = hex ? "0123456789abcdefABCDEF" : "0123456789";
    if (name.empty() || name.find_first_not_of(digits) != std::string_view::npos)
        return false;
    return isCharacter(std::strtol(name.data(), nullptr, hex ? 16 : 10));
}

/// Walks markup from "<" to "<", in UTF-16 or UTF-8: all that it looks for is ASCII. Each function takes the
/// position of what it looks at and gives the position behind it, or null when the text is to be refused.
template <class Char>
class MarkupWalk
{
public:
    MarkupWalk(const Char* begin, const Char* end, std::string_view spanName = {},
               std::vector<ElementSpan>* spans = nullptr)
        : m_begin(begin)
        , m_end(end)
        , m_spanName(spanName)
        , m_spans(spans)
    {
    }

    bool isSafe()
    {
        const Char* at = m_begin;
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
    bool startsWith(const Char* at, std::string_view start) const
    {
        return static_cast<std::size_t>(m_end - at) >= start.size() &&
               std::equal(start.begin(), start.end(), at,
                          [](unsigned char a, Char b) { return Char(a) == b; });
    }

    const Char* behindNext(const Char* at, std::string_view mark) const
    {
        const Char last = Char(static_cast<unsigned char>(mark.back()));
        const auto before = static_cast<std::ptrdiff_t>(mark.size()) - 1;
        if (m_end - at < before)
            return nullptr;
        for (at = std::find(at + before, m_end, last); at != m_end; at = std::find(at + 1, m_end, last)) {
            if (startsWith(at - before, mark))
                return at + 1;
        }
        return nullptr;
    }

    const Char* behindText(const Char* at) const
    {
        for (;;) {
            while (at < m_end && *at != '<' && *at != '&')
                ++at;
            if (at == m_end || *at == '<')
                return at;
            at = behindReference(at);
            if (!at)
                return nullptr;
        }
    }

    const Char* behindReference(const Char* at) const
    {
        std::array<char, kMaxReferenceLength> name = {};
        std::size_t length = 0;
        for (++at; at < m_end && *at != ';'; ++at) {
            // One place stays zero to end the number.
            if (*at > 0x7F || length + 1 >= name.size())
                return nullptr;
            name[length++] = static_cast<char>(*at);
        }
        return at < m_end && isReference(std::string_view(name.data(), length)) ? at + 1 : nullptr;
    }

    const Char* behindMarkup(const Char* at)
    {
        if (m_end - at < 2)
            return nullptr;
        switch (at[1]) {
        case '!':
            if (startsWith(at, "<!--"))
                return behindNext(at + 4, "-->");
            if (startsWith(at, "<![CDATA["))
                return behindNext(at + 9, "]]>");
            return nullptr; // a document type declaration, whatever its case
        case '?':
            return behindNext(at + 2, "?>");
        case '/':
            return behindEndTag(at);
        default:
            return behindStartTag(at);
        }
    }

    const Char* behindEndTag(const Char* at)
    {
        if (--m_depth < 0)
            return nullptr;
        const Char* behind = behindNext(at + 2, ">");
        if (behind && m_spanBegin && m_depth == m_spanDepth)
            closeSpan(behind);
        return behind;
    }

    const Char* behindStartTag(const Char* start)
    {
        const Char* behind = endOfTag(start + 1);
        if (!behind)
            return nullptr;
        if (m_spans && !m_spanBegin && isSpanTag(start + 1)) {
            m_spanBegin = start;
            m_spanDepth = m_depth;
        }
        if (behind[-2] == '/') {
            if (m_spanBegin == start)
                closeSpan(behind);
            return behind;
        }
        return ++m_depth <= kMaxDepth ? behind : nullptr;
    }

    bool isSpanTag(const Char* name) const
    {
        if (!startsWith(name, m_spanName))
            return false;
        // The tag is known to end with ">".
        const Char next = name[m_spanName.size()];
        return next == '>' || next == '/' || next == ' ' || next == '\t' || next == '\n' || next == '\r';
    }

    void closeSpan(const Char* behind)
    {
        m_spans->push_back(
            {static_cast<int>(m_spanBegin - m_begin), static_cast<int>(behind - m_begin), m_spanDepth == 0});
        m_spanBegin = nullptr;
    }

    const Char* endOfTag(const Char* at) const
    {
        while (at < m_end) {
            const Char c = *at++;
            if (c == '>')
                return at;
            // A ">" inside an attribute value does not end the tag.
            if ((c == '"' || c == '\'') && !(at = behindValue(at, c)))
                return nullptr;
        }
        return nullptr;
    }

    const Char* behindValue(const Char* at, Char quote) const
    {
        for (;;) {
            while (at < m_end && *at != quote && *at != '&')
                ++at;
            if (at == m_end)
                return nullptr;
            if (*at == quote)
                return at + 1;
            at = behindReference(at);
            if (!at)
                return nullptr;
        }
    }

    const Char* m_begin;
    const Char* m_end;
    std::string_view m_spanName;
    std::vector<ElementSpan>* m_spans;
    int m_depth = 0;
    /// Where the span that the walk is in begins, and in how many elements; null outside spans.
    const Char* m_spanBegin = nullptr;
    int m_spanDepth = 0;
};

} // namespace

bool isSafeToParse(const QString& text)
{
    const ushort* begin = text.utf16();
    return text.size() <= kMaxDocumentLength && canCarry(text) &&
           MarkupWalk<ushort>(begin, begin + text.size()).isSafe();
}

bool findSpans(const QByteArray& utf8, const QByteArray& name, std::vector<ElementSpan>& spans)
{
    const auto* begin = reinterpret_cast<const uchar*>(utf8.constData());
    const std::string_view spanName(name.constData(), static_cast<std::size_t>(name.size()));
    return utf8.size() <= kMaxDocumentLength &&
           MarkupWalk<uchar>(begin, begin + utf8.size(), spanName, &spans).isSafe();
}

} // namespace KRXXml
