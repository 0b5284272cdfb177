#include <ipxact/catalog/vlnv.h>

#include <functional>
#include <tuple>
#include <utility>

namespace ipxact {
namespace catalog {

std::string Vlnv::to_string() const
{
    return vendor + ':' + library + ':' + name + ':' + version;
}

std::optional<Vlnv> Vlnv::parse(const std::string& text)
{
    std::string parts[4];
    size_t part = 0;
    for (char c : text) {
        if (c != ':') {
            parts[part] += c;
            continue;
        }
        if (++part == 4)
            return std::nullopt;
    }
    if (part != 3)
        return std::nullopt;
    // A text with an empty part names no document.
    Vlnv id{parts[0], parts[1], parts[2], parts[3]};
    return id.complete() ? std::optional<Vlnv>(std::move(id)) : std::nullopt;
}

bool Vlnv::operator==(const Vlnv& other) const
{
    return name == other.name && version == other.version && library == other.library && vendor == other.vendor;
}

bool Vlnv::operator<(const Vlnv& other) const
{
    return std::tie(vendor, library, name, version) < std::tie(other.vendor, other.library, other.name, other.version);
}

size_t VlnvHash::operator()(const Vlnv& id) const
{
    std::hash<std::string> text;
    size_t h = text(id.vendor);
    for (const std::string* part : {&id.library, &id.name, &id.version})
        h = h * 1000003u ^ text(*part);
    return h;
}

const char* kind_name(DocumentKind kind)
{
    switch (kind) {
    case DocumentKind::component:
        return "component";
    case DocumentKind::bus_definition:
        return "bus definition";
    case DocumentKind::abstraction_definition:
        return "abstraction definition";
    case DocumentKind::design:
        return "design";
    case DocumentKind::design_configuration:
        return "design configuration";
    case DocumentKind::abstractor:
        return "abstractor";
    case DocumentKind::generator_chain:
        return "generator chain";
    case DocumentKind::parameter_abstraction_definition:
        return "parameter abstraction definition";
    case DocumentKind::other:
        break;
    }
    return "other document";
}

std::string kinds_name(KindSet kinds)
{
    if ((kinds & kAnyKind) == kAnyKind)
        return "any document";
    std::string text;
    for (size_t i = 0; i < kDocumentKindCount; ++i) {
        if (!(kinds & kind_bit(static_cast<DocumentKind>(i))))
            continue;
        if (!text.empty())
            text += " or ";
        text += kind_name(static_cast<DocumentKind>(i));
    }
    return text;
}

}  // namespace catalog
}  // namespace ipxact
