#include "read_document.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <unordered_map>

#include <ipxact/lmx60/c_xml_reader.h>
#include <ipxact/lmx60/lmx60_error.h>
#include <ipxact/spirit/HIPGSBinding.h>
#include <ipxact/spirit/HIPGSNamespaces.h>
#include <ipxact/spirit/HIPGSStructure.h>
#include <ipxact/spirit/HIPGSTop.h>
#include <ipxact/spirit/HIPGSVersionedIdentifier.h>

#include "document_head.h"
#include "recent_by_address.h"
#include "rules_tree.h"

namespace ipxact {
namespace catalog {

namespace {

// Past this many faults a document is mostly noise; reading it stops there.
constexpr size_t kMaxFaultsPerDocument = 50;

struct KindOfRoot {
    const char* local;
    DocumentKind kind;
};

const KindOfRoot kSpiritRoots[] = {
    {"component", DocumentKind::component},
    {"busDefinition", DocumentKind::bus_definition},
    {"abstractionDefinition", DocumentKind::abstraction_definition},
    {"design", DocumentKind::design},
    {"designConfiguration", DocumentKind::design_configuration},
    {"abstractor", DocumentKind::abstractor},
    {"generatorChain", DocumentKind::generator_chain},
};

// What a reference element of the standard may name. The elements are found by their attributes;
// this only narrows what they may point at. `extends` names a document of the referring kind.
struct SpiritTarget {
    const char* local;
    KindSet kinds;
};

const SpiritTarget kSpiritTargets[] = {
    {"busType", kind_bit(DocumentKind::bus_definition)},
    {"abstractionType", kind_bit(DocumentKind::abstraction_definition)},
    {"componentRef", kind_bit(DocumentKind::component)},
    {"designRef", kind_bit(DocumentKind::design)},
    {"hierarchyRef", static_cast<KindSet>(kind_bit(DocumentKind::design) | kind_bit(DocumentKind::design_configuration))},
    {"abstractorRef", kind_bit(DocumentKind::abstractor)},
    {"generatorChainRef", kind_bit(DocumentKind::generator_chain)},
};

// The vendor vocabulary's references: the elements declared with its reference types. Its
// attributes are all optional, so they cannot be told from other elements by attributes alone.
struct VendorReference {
    const char* local;
    bool pattern;
    KindSet kinds;
};

const VendorReference kVendorReferences[] = {
    {"componentRef", false, kind_bit(DocumentKind::component)},
    {"parameterAbstractionType", false, kind_bit(DocumentKind::parameter_abstraction_definition)},
    {"abstractionDefinitionRef", true, kind_bit(DocumentKind::abstraction_definition)},
    {"extends", true, kind_bit(DocumentKind::parameter_abstraction_definition)},
    {"busType", true, kind_bit(DocumentKind::bus_definition)},
    {"abstractionType", true, kind_bit(DocumentKind::abstraction_definition)},
    {"componentType", true, kind_bit(DocumentKind::component)},
};

template <class Table>
const auto* find_local(const Table& table, const char* local)
{
    for (const auto& entry : table)
        if (std::strcmp(entry.local, local) == 0)
            return &entry;
    return static_cast<decltype(&table[0])>(nullptr);
}

// Tells the two namespaces apart by URI; the parser interns URIs, so a pointer seen once is
// recognised again without comparing text.
class NamespaceOf {
public:
    enum Which { none, spirit, vorlix };

    Which operator()(const char* uri)
    {
        if (!uri)
            return none;
        if (uri == m_spirit)
            return spirit;
        if (uri == m_vorlix)
            return vorlix;
        if (std::strcmp(uri, HIPGSpirit::kSpiritNamespaceUri) == 0) {
            m_spirit = uri;
            return spirit;
        }
        if (std::strcmp(uri, HIPGSpirit::kVorlixNamespaceUri) == 0) {
            m_vorlix = uri;
            return vorlix;
        }
        return none;
    }

private:
    const char* m_spirit = nullptr;
    const char* m_vorlix = nullptr;
};

// Watches the elements a reader moves onto and the values the objects take from them: notes their
// lines, the references among them and where each value stands.
class Observer : public HIPGSpirit::ReadObserver {
public:
    Observer(lmx60::c_xml_reader& reader, LineIndex& lines, std::vector<Reference>& references, ReadValues& values)
        : m_reader(reader), m_builder(lines), m_lines(lines), m_references(references), m_values(values)
    {
    }

    void element(size_t level, const char* uri, const char* local, int line)
    {
        m_builder.element(level, local, line);
        NamespaceOf::Which ns = m_namespace(uri);
        if (ns != NamespaceOf::spirit)
            m_values.foreign.push_back(m_builder.current());
        if (level == 1) {
            m_root_ns = ns;
            m_root_local = local;
        }
        // The standard's references are told by their attributes, and most elements have none; the
        // vendor's may have none at all.
        if (ns == NamespaceOf::spirit && m_reader.has_attributes())
            spirit_reference(local, line);
        else if (ns == NamespaceOf::vorlix)
            vendor_reference(local, line, std::string());
    }

    // An element inside a vendor block that reading keeps whole. The index stops at the block, so
    // a reference inside gets the block's node, and a path that goes on below it, each step with
    // its position among the siblings of its name as the index writes it.
    void captured(size_t level, const char* uri, const char* local, int line)
    {
        if (m_builder.current() != m_block) {
            m_block = m_builder.current();
            m_inner.clear();
            m_block_children.clear();
        }
        while (!m_inner.empty() && m_inner.back().level >= level)
            m_inner.pop_back();
        // Counted by name in a hash table: a hostile block may hold very many names side by side.
        Counts& siblings = m_inner.empty() ? m_block_children : m_inner.back().children;
        size_t position = ++siblings[local];
        m_inner.push_back({level, local, position, {}});
        if (m_namespace(uri) != NamespaceOf::vorlix || !find_local(kVendorReferences, local))
            return;
        std::string below;
        for (const InnerElement& inner : m_inner) {
            below += "/" + inner.local;
            if (inner.position > 1)
                below += "[" + std::to_string(inner.position) + "]";
        }
        vendor_reference(local, line, below);
    }

    void attribute(const char*, const char*, const HIPGSpirit::ValueSite& value) override
    {
        ++m_values.attributes;
        note(value);
    }
    void text(const HIPGSpirit::ValueSite& value) override { note(value); }
    // Of texts, only those some rule reads: most elements (offsets, widths, descriptions) are read
    // by typed code or by none. The parser interns element names, so one is known by its address.
    bool wants_text(const lmx60::c_xml_reader& reader) override
    {
        const char* local = reader.element_local_name();
        return m_texts_read.find(local, [local] { return RulesTree::text_is_read(local); });
    }

    // Room for what a document of `bytes` notes at most, about: an element takes twenty bytes of
    // text or more, and a value as many. Memory reserved and never touched costs nothing, and the
    // large block a document leaves when its notes are cut to size serves the next one. Past a few
    // million elements the notes grow as they go; and room that cannot be had is only room.
    void reserve(uint64_t bytes)
    {
        size_t expected = static_cast<size_t>(std::min<uint64_t>(bytes / 16, uint64_t{1} << 22));
        try {
            m_builder.reserve(expected);
            m_values.values.reserve(expected);
        } catch (const std::bad_alloc&) {
        }
    }
    void finish() { m_builder.finish(); }
    LineIndex::Node open_at_line(int line) const { return m_builder.open_at_line(line); }
    NamespaceOf::Which root_ns() const { return m_root_ns; }
    const std::string& root_local() const { return m_root_local; }

private:
    using Counts = std::unordered_map<std::string, size_t>;  // elements met so far, by name
    struct InnerElement {
        size_t level;
        std::string local;
        size_t position;
        Counts children;
    };

    void spirit_reference(const char* local, int line)
    {
        // Most elements carry no attributes at all; the identifier is made for the few references.
        std::string vendor;
        if (!m_reader.find_attribute(HIPGSpirit::kSpiritNamespaceUri, "vendor", &vendor))
            return;
        Vlnv target;
        target.vendor = std::move(vendor);
        m_reader.find_attribute(HIPGSpirit::kSpiritNamespaceUri, "library", &target.library);
        m_reader.find_attribute(HIPGSpirit::kSpiritNamespaceUri, "name", &target.name);
        m_reader.find_attribute(HIPGSpirit::kSpiritNamespaceUri, "version", &target.version);
        KindSet kinds = kAnyKind;
        if (std::strcmp(local, "extends") == 0) {
            if (m_root_local == "busDefinition")
                kinds = kind_bit(DocumentKind::bus_definition);
            else if (m_root_local == "abstractionDefinition")
                kinds = kind_bit(DocumentKind::abstraction_definition);
        } else if (const SpiritTarget* known = find_local(kSpiritTargets, local)) {
            kinds = known->kinds;
        }
        add(std::move(target), false, std::string("spirit:") + local, kinds, line, std::string());
    }

    // `below`: the rest of the path past the indexed element, for an element inside a vendor block.
    void vendor_reference(const char* local, int line, const std::string& below)
    {
        const VendorReference* known = find_local(kVendorReferences, local);
        if (!known)
            return;
        Vlnv target;
        uint8_t written = 0;
        const char* const parts[4] = {"vendor", "library", "name", "version"};
        std::string* values[4] = {&target.vendor, &target.library, &target.name, &target.version};
        for (int i = 0; i < 4; ++i)
            if (m_reader.find_attribute(HIPGSpirit::kVorlixNamespaceUri, parts[i], values[i]))
                written = static_cast<uint8_t>(written | (1u << i));
        add(std::move(target), known->pattern, std::string("vorlix:") + local, known->kinds, line, below, written);
    }

    void add(Vlnv target, bool pattern, std::string element, KindSet kinds, int line, const std::string& below,
             uint8_t written = 0xF)
    {
        Reference reference;
        reference.target = std::move(target);
        reference.pattern = pattern;
        reference.written = written;
        reference.element = std::move(element);
        reference.expected = kinds;
        reference.node = m_builder.current();
        reference.line = line;
        reference.path = m_lines.path(reference.node) + below;
        m_references.push_back(std::move(reference));
    }

    void note(const HIPGSpirit::ValueSite& value)
    {
        // Made in place, as the line index's entries are.
        ReadValues::Value& noted = m_values.values.emplace_back();
        noted.node = m_builder.current();
        noted.index = value.index;
        noted.owner = value.owner;
        noted.member = value.member;
    }

    lmx60::c_xml_reader& m_reader;
    LineIndex::Builder m_builder;
    const LineIndex& m_lines;
    std::vector<Reference>& m_references;
    ReadValues& m_values;
    RecentByAddress<bool, 127> m_texts_read;  // by element name
    NamespaceOf m_namespace;
    NamespaceOf::Which m_root_ns = NamespaceOf::none;
    std::string m_root_local;
    // Where the observer stands inside the vendor block being captured.
    LineIndex::Node m_block = LineIndex::npos;
    Counts m_block_children;
    std::vector<InnerElement> m_inner;
};

Finding read_finding(const std::string& file, int line, std::string path, lmx60::elmx_error code,
                     const std::string& item)
{
    return Finding{"read.fault", Severity::error, file, line, std::move(path), fault_text(code, item)};
}

// The identifier of a document whose class has the versioned identifier group, found through the
// class's member table so that every kind of document is served alike.
bool identifier_of(const HIPGSpirit::HIPGSBase* root, Vlnv* id)
{
    if (!root || !root->getClassInfo())
        return false;
    const HIPGSpirit::ClassInfo& info = *root->getClassInfo();
    for (uint32_t i = 0; i < info.member_count; ++i) {
        const HIPGSpirit::MemberInfo& member = info.members[i];
        if (member.kind != HIPGSpirit::MemberKind::group || std::strcmp(member.qname, "spirit:versionedIdentifier") != 0)
            continue;
        const auto* group = static_cast<const HIPGSpirit::HIPGSVersionedIdentifier*>(member.ops->object(*root));
        if (!group)
            return false;
        *id = Vlnv{group->getVendor(), group->getLibrary(), group->getName(), group->getVersion()};
        return id->complete();
    }
    return false;
}

}  // namespace

std::string fault_text(lmx60::elmx_error code, const std::string& item)
{
    const char* description = lmx60::get_error_description(code);
    std::string text = "code " + std::to_string(code) + ": " + (description ? description : "unknown error");
    if (!item.empty())
        text += " (" + item + ")";
    return text;
}

Document::Document() : m_values(new ReadValues()) {}

Document::~Document() = default;

std::unique_ptr<Document> DocumentAccess::read(const std::string& file, const std::string_view* text,
                                               std::vector<Finding>& findings)
{
    std::unique_ptr<Document> document(new Document());
    document->m_file = file;
    document->m_top.reset(new HIPGSpirit::HIPGSTop());
    std::unique_ptr<lmx60::c_xml_reader> reader;
    if (text) {
        reader.reset(new lmx60::c_xml_reader_memory(text->data(), text->size(), file));
        document->m_size = text->size();
    } else {
        auto* fileReader = new lmx60::c_xml_reader_file(file.c_str());
        reader.reset(fileReader);
        if (!fileReader->is_open()) {
            findings.push_back({"read.fault", Severity::error, file, 0, "",
                                std::string("cannot open the file: ") + std::strerror(errno)});
            return nullptr;
        }
        document->m_size = fileReader->file_size();
    }

    Observer observer(*reader, document->m_lines, document->m_references, *document->m_values);
    observer.reserve(document->m_size);
    std::vector<Finding> faults;
    reader->set_element_observer([&observer](size_t level, const char* uri, const char* local, int line) {
        observer.element(level, uri, local, line);
    });
    reader->set_captured_observer([&observer](size_t level, const char* uri, const char* local, int line) {
        observer.captured(level, uri, local, line);
    });
    reader->set_error_handler([&](lmx60::elmx_error code, const std::string& item, int line) {
        faults.push_back(read_finding(file, line, document->m_lines.path(observer.open_at_line(line)), code, item));
        bool ends = code == lmx60::ELMX_NO_FILE || code == lmx60::ELMX_NO_ROOT;
        return faults.size() < kMaxFaultsPerDocument && !ends ? lmx60::ELMX_OK : code;
    });
    lmx60::elmx_error result;
    try {
        HIPGSpirit::ObservedReading observing(*reader, observer);
        result = document->m_top->unmarshal(*reader);
    } catch (const std::exception& e) {
        // Reading returns codes; anything thrown is a fault of the library, reported, not fatal.
        faults.push_back({"read.fault", Severity::error, file, 0, "", std::string("reading stopped: ") + e.what()});
        result = lmx60::ELMX_INTERNAL;
    }
    observer.finish();
    if (result != lmx60::ELMX_OK && faults.empty()) {
        const lmx60::s_debug_error& first = reader->get_debug_error();
        faults.push_back(read_finding(file, first.document_line, "", result, first.item_name));
    }

    // The reader fails at a fault in what it has parsed ahead before handing out the element it
    // stands on, so a fault close to the top hides the document element or the identifier. What
    // the document is then comes from its head, as far as the text gives it before the fault.
    NamespaceOf::Which rootNs = observer.root_ns();
    std::string rootLocal = observer.root_local();
    int rootLine = document->m_lines.empty() ? 0 : document->m_lines.line(0);
    Vlnv id;
    bool hasId = identifier_of(document->m_top->getChosenObject(), &id);
    DocumentHead head;
    if (result != lmx60::ELMX_OK && !hasId)
        head = read_head(file, text);
    NamespaceOf::Which headNs = NamespaceOf()(head.uri.empty() ? nullptr : head.uri.c_str());
    if (document->m_lines.empty() && !head.local.empty() && !head.undeclared_prefix) {
        rootNs = headNs;
        rootLocal = head.local;
        rootLine = head.line;
    }

    if (rootNs == NamespaceOf::none && !rootLocal.empty()) {
        findings.push_back({"load.not-ipxact", Severity::note, file, rootLine, rootLocal,
                            "passed over: the document element belongs to neither IP-XACT 1685-2009 nor the vendor vocabulary"});
        return nullptr;
    }
    document->m_clean = result == lmx60::ELMX_OK && faults.empty();
    // Faults found at an element's end come after those inside it; a reader of the list wants lines in order.
    std::stable_sort(faults.begin(), faults.end(),
                     [](const Finding& a, const Finding& b) { return a.line < b.line; });
    findings.insert(findings.end(), faults.begin(), faults.end());

    const char* chosen = document->m_top->getChosenElementId();
    document->m_root = chosen ? chosen : "";
    if (rootNs == NamespaceOf::spirit) {
        for (const KindOfRoot& root : kSpiritRoots)
            if (rootLocal == root.local)
                document->m_kind = root.kind;
    } else if (rootLocal == "parameterAbstractionDefinition") {
        document->m_kind = DocumentKind::parameter_abstraction_definition;
    }
    if (document->m_root.empty() && !rootLocal.empty())
        document->m_root = (rootNs == NamespaceOf::spirit ? "spirit:" : "vorlix:") + rootLocal;
    bool headOfThisRoot = head.local == rootLocal && headNs == rootNs;
    if (!hasId && head.id.complete() && headOfThisRoot && document->m_kind != DocumentKind::other) {
        hasId = true;
        id = head.id;
    }
    document->m_has_vlnv = hasId;
    document->m_vlnv = hasId ? id : Vlnv();

    document->m_references.shrink_to_fit();
    document->m_values->values.shrink_to_fit();
    return document;
}

}  // namespace catalog
}  // namespace ipxact
