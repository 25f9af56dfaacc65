#include "documents/XmlGuard.h"

#include "base/Text.h"

#include <array>
#include <cctype>
#include <cstdlib>

namespace krxservice::xmlguard {

namespace {

/// Walks over markup without building anything.
class Scanner
{
public:
    explicit Scanner(std::string_view text)
        : m_text(text)
    {
    }

    std::optional<std::string> run()
    {
        while (m_at < m_text.size()) {
            if (m_text[m_at] == '<')
                markup();
            else if (m_text[m_at] == '&')
                reference();
            else
                character();
            if (m_reason)
                return m_reason;
        }
        if (m_depth != 0)
            return "the document is cut short";
        if (m_roots != 1)
            return "a document has exactly one root element";
        return std::nullopt;
    }

private:
    bool startsWith(std::string_view what) const { return m_text.substr(m_at, what.size()) == what; }

    void skipPast(std::string_view end)
    {
        const auto found = m_text.find(end, m_at);
        if (found == std::string_view::npos)
            m_reason = "the document is cut short";
        else
            m_at = found + end.size();
    }

    void character()
    {
        if (m_depth == 0 && !std::isspace(static_cast<unsigned char>(m_text[m_at])))
            m_reason = "the body is not an XML document";
        ++m_at;
    }

    void markup()
    {
        if (startsWith("<!--")) {
            m_at += 4;
            skipPast("-->");
        } else if (startsWith("<![CDATA[") && m_depth > 0) {
            skipPast("]]>");
        } else if (startsWith("<!")) {
            m_reason = "document types and entities are not accepted";
        } else if (startsWith("<?")) {
            instruction();
        } else {
            tag();
        }
    }

    void instruction()
    {
        const std::size_t from = m_at;
        skipPast("?>");
        if (m_reason)
            return;
        std::string content(m_text.substr(from, m_at - from));
        for (char& c : content)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (content.rfind("<?xml ", 0) != 0)
            return;
        const auto encoding = content.find("encoding");
        if (encoding != std::string::npos && content.find("utf-8", encoding) == std::string::npos)
            m_reason = "documents are sent in UTF-8";
    }

    void tag()
    {
        const bool closing = startsWith("</");
        char quote = 0;
        std::size_t at = m_at + 1;
        for (; at < m_text.size(); ++at) {
            const char c = m_text[at];
            if (quote) {
                if (c == quote)
                    quote = 0;
                else if (c == '&') {
                    m_at = at;
                    reference();
                    if (m_reason)
                        return;
                    at = m_at - 1;
                }
            } else if (c == '"' || c == '\'') {
                quote = c;
            } else if (c == '>') {
                break;
            } else if (c == '<') {
                m_reason = "the body is not an XML document";
                return;
            }
        }
        if (at == m_text.size()) {
            m_reason = "the document is cut short";
            return;
        }
        const bool empty = m_text[at - 1] == '/';
        m_at = at + 1;
        if (closing)
            leave();
        else
            enter(empty);
    }

    void enter(bool empty)
    {
        if (m_depth == 0)
            ++m_roots;
        if (m_depth + 1 > kDeepestNesting)
            m_reason = "elements are nested too deeply";
        else if (!empty)
            ++m_depth;
    }

    void leave()
    {
        if (--m_depth < 0)
            m_reason = "the body is not an XML document";
    }

    void reference()
    {
        const auto end = m_text.find(';', m_at);
        const std::string name(
            m_text.substr(m_at + 1, end == std::string_view::npos || end - m_at > 12 ? 0 : end - m_at - 1));
        constexpr std::array<std::string_view, 5> known = {"lt", "gt", "amp", "quot", "apos"};
        bool legal = false;
        for (const auto& one : known)
            legal = legal || name == one;
        if (!legal && name.size() > 1 && name[0] == '#')
            legal = isLegalNumber(name.substr(1));
        if (!legal)
            m_reason = "the document refers to a character or entity that XML does not know";
        else
            m_at = end + 1;
    }

    static bool isLegalNumber(const std::string& digits)
    {
        const bool hex = digits[0] == 'x';
        char* end = nullptr;
        const std::string number = hex ? digits.substr(1) : digits;
        if (number.empty() || !std::isxdigit(static_cast<unsigned char>(number[0])))
            return false;
        const unsigned long c = std::strtoul(number.c_str(), &end, hex ? 16 : 10);
        return *end == 0 && (c == 9 || c == 10 || c == 13 || (c >= 0x20 && c <= 0xD7FF) ||
                             (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF));
    }

    std::string_view m_text;
    std::size_t m_at = 0;
    int m_depth = 0;
    int m_roots = 0;
    std::optional<std::string> m_reason;
};

} // namespace

std::optional<std::string> refuse(std::string_view text)
{
    if (text.size() > kLargestBody)
        return "the body is larger than 1 MB";
    if (text.substr(0, 3) == "\xEF\xBB\xBF")
        text.remove_prefix(3);
    if (text.empty())
        return "the body is empty";
    if (!text::isXmlText(text))
        return "the body holds bytes that are no UTF-8 or that XML cannot carry";
    return Scanner(text).run();
}

} // namespace krxservice::xmlguard
