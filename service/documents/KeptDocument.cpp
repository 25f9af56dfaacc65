#include "documents/KeptDocument.h"

#include "documents/XmlTools.h"

namespace krxservice::keptdocument {

namespace {

constexpr char kRoot[] = "krxServiceKept";
constexpr char kFolder[] = "folder";
constexpr char kProfile[] = "profile";

} // namespace

std::string write(const KeptData& data)
{
    pugi::xml_document document;
    auto root = xmltools::append(document, kRoot);
    root.append_attribute("version") = 1;
    root.append_attribute("generation") = static_cast<long long>(data.generation);
    for (const auto& folder : data.folders) {
        auto element = xmltools::append(root, kFolder);
        element.append_attribute("id") = folder.id.c_str();
        xmltools::append(element, "path", folder.path);
        xmltools::append(element, "canonical", folder.canonical);
        xmltools::append(element, "profile", folder.profile);
        xmltools::append(element, "enabled", folder.enabled ? "true" : "false");
    }
    for (const auto& profile : data.profiles) {
        auto element = xmltools::append(root, kProfile);
        element.append_attribute("id") = profile.id.c_str();
        xmltools::append(element, "name", profile.name);
        xmltools::append(element, "document", profile.document);
    }
    return xmltools::documentText(document);
}

Outcome<KeptData> read(std::string_view text)
{
    // Written by this program, and larger than what a client may send.
    pugi::xml_document document;
    const auto result =
        document.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_ws_pcdata_single);
    const auto root = document.document_element();
    if (!result || std::string_view(root.name()) != kRoot)
        return Refusal{400, result ? "the root element is not " + std::string(kRoot) : result.description()};
    KeptData data;
    data.generation = root.attribute("generation").as_llong();
    for (const auto& element : root.children(kFolder)) {
        FolderRecord folder;
        folder.id = element.attribute("id").value();
        folder.path = xmltools::textOf(element.child("path"));
        folder.canonical = xmltools::textOf(element.child("canonical"));
        folder.profile = xmltools::textOf(element.child("profile"));
        folder.enabled = xmltools::textOf(element.child("enabled")) == "true";
        data.folders.push_back(std::move(folder));
    }
    for (const auto& element : root.children(kProfile)) {
        data.profiles.push_back({element.attribute("id").value(), xmltools::textOf(element.child("name")),
                                 xmltools::textOf(element.child("document"))});
    }
    return data;
}

} // namespace krxservice::keptdocument
