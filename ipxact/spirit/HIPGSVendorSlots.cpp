// The typed vendor slots of the engine. They know spirit:vendorExtensions by its class, which is
// why they live apart from the generic loops.
#include <memory>

#include <ipxact/spirit/HIPGSBinding.h>
#include <ipxact/spirit/HIPGSNamespaces.h>
#include <ipxact/spirit/HIPGSVendorExtensions.h>

namespace HIPGSpirit {

namespace {

bool is_slot_element(const lmx60::c_any_info& item, const MemberInfo& slot)
{
    return item.get_namespace() == kVorlixNamespaceUri && item.get_local_name() == slot.name;
}

// Reads a captured element into `target` through a reader of its own. Each fault goes to the
// document's reader, at the line of the document it stands on, and the document's handler decides
// whether reading goes on; when it stops, the document's read unwinds as for any other fault.
void read_captured(lmx60::c_xml_reader& reader, const lmx60::c_any_info& item, HIPGSBase& target,
                   const MemberInfo& slot)
{
    const std::string& xml = item.get_xml();
    lmx60::c_xml_reader_memory captured(xml.data(), xml.size(), "<captured element>");
    captured.set_ns_map(ns_map_reader);
    auto in_document = [&](int line) {
        return item.get_source_line() > 0 && line > 0 ? item.get_source_line() + line - 1 : reader.line();
    };
    bool reported = false;
    std::unique_ptr<lmx60::c_lmx_reader_exception> stop;
    captured.set_error_handler([&](lmx60::elmx_error code, const std::string& what, int line) {
        reported = true;
        try {
            return reader.capture_error_at(code, what.empty() ? std::string(slot.qname) : what, __FILE__, __LINE__,
                                           in_document(line));
        } catch (const lmx60::c_lmx_reader_exception& e) {
            stop.reset(new lmx60::c_lmx_reader_exception(e));
            return e.get_error();
        }
    });
    lmx60::elmx_error result = reading_code([&]() -> lmx60::elmx_error {
        captured.read_document_element();
        return target.unmarshal(captured, slot.qname);
    });
    if (stop)
        throw *stop;
    if (result != lmx60::ELMX_OK && !reported)
        reader.capture_error(result, slot.qname, __FILE__, __LINE__);
}

}  // namespace

void fill_vendor_slot(lmx60::c_xml_reader& reader, HIPGSBase& owner, const MemberInfo& extensions,
                      const MemberInfo& slot)
{
    auto* open = static_cast<HIPGSVendorExtensions*>(extensions.ops->object(owner));
    if (!open || slot.ops->count(owner) > 0)
        return;
    for (size_t i = 0; i < open->sizeany(); ++i) {
        if (!is_slot_element(open->getany(i), slot))
            continue;
        lmx60::c_any_info item = open->getany(i);
        open->deleteany(i);
        slot.ops->create(owner);
        read_captured(reader, item, *slot.ops->object(owner), slot);
        return;
    }
}

void write_vendor_extensions(lmx60::c_xml_writer& writer, const HIPGSBase& owner, const MemberInfo& extensions,
                             const MemberInfo& slot)
{
    auto* open = static_cast<const HIPGSVendorExtensions*>(extensions.ops->object(owner));
    size_t openItems = open ? open->sizeany() : 0;
    if (slot.ops->count(owner) == 0 && openItems == 0)
        return;
    writer.start_element(extensions.qname);
    slot.ops->write(writer, owner, slot);
    for (size_t i = 0; i < openItems; ++i)
        writer.any_element(open->getany(i));
    writer.end_element(extensions.qname);
}

}  // namespace HIPGSpirit
