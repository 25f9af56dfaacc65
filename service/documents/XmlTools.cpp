#include "documents/XmlTools.h"

#include "base/Text.h"
#include "documents/XmlGuard.h"

namespace krxservice::xmltools {

namespace {

/// Gathers what pugixml writes. A carriage return is written as a reference: a bare one would come back as
/// another line end.
class TextWriter : public pugi::xml_writer
{
public:
    explicit TextWriter(std::string start)
        : m_text(std::move(start))
    {
    }

    void write(const void* data, size_t size) override
    {
        const std::string_view piece(static_cast<const char*>(data), size);
        std::size_t from = 0;
        for (std::size_t at = piece.find('\r'); at != std::string_view::npos; at = piece.find('\r', from)) {
            m_text.append(piece.substr(from, at - from)).append("&#13;");
            from = at + 1;
        }
        m_text.append(piece.substr(from));
    }

    std::string take() { return std::move(m_text); }

private:
    std::string m_text;
};

std::string written(const pugi::xml_node& element, std::string start)
{
    TextWriter writer(std::move(start));
    element.print(writer, " ", pugi::format_indent, pugi::encoding_utf8);
    return writer.take();
}

} // namespace

std::optional<Refusal> parse(std::string_view text, pugi::xml_document& document)
{
    if (const auto reason = xmlguard::refuse(text))
        return Refusal{text.size() > xmlguard::kLargestBody ? 413 : 400, *reason};
    const unsigned flags = pugi::parse_default | pugi::parse_ws_pcdata_single;
    const auto result = document.load_buffer(text.data(), text.size(), flags, pugi::encoding_utf8);
    if (!result || !document.document_element())
        return Refusal{400, std::string("the body is not an XML document: ") + result.description()};
    return std::nullopt;
}

std::string textOf(const pugi::xml_node& element)
{
    std::string text;
    for (const auto& child : element.children()) {
        if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata)
            text += child.value();
    }
    return text;
}

pugi::xml_node append(pugi::xml_node parent, const char* name, std::string_view text)
{
    auto element = parent.append_child(name);
    if (!text.empty())
        element.append_child(pugi::node_pcdata).set_value(text::xmlClean(text).c_str());
    return element;
}

pugi::xml_node append(pugi::xml_node parent, const char* name)
{
    return parent.append_child(name);
}

std::string elementText(const pugi::xml_node& element)
{
    return written(element, {});
}

std::string documentText(const pugi::xml_document& document)
{
    return written(document.document_element(), declaration());
}

std::string declaration()
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
}

} // namespace krxservice::xmltools
