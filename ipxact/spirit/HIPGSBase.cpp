#include <ipxact/spirit/HIPGSBase.h>

#include <algorithm>
#include <iomanip>
#include <locale>

#include <ipxact/common/ComMsgMgr.h>
#include <ipxact/common/HEXAll.h>
#include <ipxact/common/HPAParamMgr.h>
#include <ipxact/lmx60/lmx60_frontends.h>
#include <ipxact/lmx60/lmx60_storage.h>
#include <ipxact/spirit/HIPGSBinding.h>
#include <ipxact/spirit/HIPGSNamespaces.h>

namespace HIPGSpirit {

namespace {

const char* const kDomain = "ipbuild";
const ComMsgMgr::MsgMask kMask = 0x8000000;

bool g_silent = false;

const lmx60::s_ns_map g_base_namespace_map[] = {
    {1000, "vorlix", kVorlixNamespaceUri},
    {1001, "spirit", kSpiritNamespaceUri},
    {0, nullptr, nullptr},
};

bool schema_debug_enabled()
{
    if (g_silent)
        return false;
    return HPAParamMgr::getParamMgr()->getValueAsBool("ib.debugIPXactSchema");
}

void send(int severity, const char* format, const char* first, const char* second = nullptr)
{
    if (second)
        ComMsgMgr::sendMsg::eval(severity, ComMsgMgr::kCallSiteFile, ComMsgMgr::kCallSiteLine, kDomain, kMask,
                                 format, first, second);
    else
        ComMsgMgr::sendMsg::eval(severity, ComMsgMgr::kCallSiteFile, ComMsgMgr::kCallSiteLine, kDomain, kMask,
                                 format, first);
}

std::string trimmed(const std::string& text)
{
    const std::ctype<char>& classify = std::use_facet<std::ctype<char>>(std::locale::classic());
    auto isSpace = [&](char c) { return classify.is(std::ctype_base::space, c); };
    auto begin = std::find_if_not(text.begin(), text.end(), isSpace);
    auto end = std::find_if_not(text.rbegin(), std::string::const_reverse_iterator(begin), isSpace).base();
    return std::string(begin, end);
}

// The document listing is part of the report only while schema debugging is on.
void report_failure(const std::stringstream& document, lmx60::elmx_error code, int line, const std::string& item)
{
    if (g_silent)
        return;
    std::ostringstream report;
    bool debugging = schema_debug_enabled();
    if (debugging) {
        report << '\n';
        std::istringstream lines(document.str());
        std::string text;
        for (int number = 1; std::getline(lines, text, '\n'); ++number)
            report << std::setw(6) << number << ". " << text << '\n';
        report << "WARNING: ";
    }
    std::string name = trimmed(item);
    if (!name.empty())
        report << "see '" << name << "' ";
    if (debugging && line > 0)
        report << "near line " << (line - 1);
    report << ": ";
    const char* description = lmx60::get_error_description(code);
    if (description)
        report << description;
    else
        report.setstate(std::ios::badbit);
    if (code == lmx60::ELMX_REQUIRED_ELEMENT_MISSING)
        report << " or unexpected element found";
    send(2, "@19-395@%s%s", "validating against XML schema", report.str().c_str());
}

}  // namespace

void* HIPGSBase::operator new(std::size_t size)
{
    return lmx60::storage_allocate(size);
}

void HIPGSBase::operator delete(void* object) noexcept
{
    lmx60::storage_release(object);
}

HIPGSBase::~HIPGSBase() = default;

void HIPGSBase::reset() {}

lmx60::elmx_error HIPGSBase::marshal(lmx60::c_xml_writer&, const char* name) const
{
    std::string target = (name && *name) ? name : getElementId();
    throw HEXAlgException("HIPGSBase::marshal: Unimplemented virtual, cannot write to writer " + target);
}

lmx60::elmx_error HIPGSBase::marshal(std::ostream& os, lmx60::s_debug_error*) const
{
    // The caller's record is deliberately not filled through this path.
    return lmx60::marshal<HIPGSBase>(*this, os, nullptr);
}

lmx60::elmx_error HIPGSBase::marshal(const char* file, lmx60::s_debug_error*) const
{
    throw HEXAlgException(std::string("HIPGSBase::marshal: Unimplemented virtual, cannot write ") + getElementId() +
                          " to file " + (file ? file : ""));
}

lmx60::elmx_error HIPGSBase::unmarshal(const char* file, lmx60::s_debug_error*)
{
    throw HEXAlgException(std::string("HIPGSBase::unmarshal: Unimplemented virtual, cannot read ") + getElementId() +
                          " from file " + (file ? file : ""));
}

namespace {

// What a class without a table of its own reads and writes through the steps: nothing.
const ClassInfo kNoMembers = {"", 0, nullptr, ContentKind::empty, nullptr, 0, nullptr, 0, nullptr, nullptr};

const ClassInfo& table_of(const HIPGSBase& obj)
{
    const ClassInfo* info = obj.getClassInfo();
    return info ? *info : kNoMembers;
}

}  // namespace

bool HIPGSBase::unmarshal_attributes(lmx60::c_xml_reader& reader, lmx60::elmx_error* error)
{
    bool own = false;
    *error = reading_code([&]() -> lmx60::elmx_error {
        own = read_own_attribute(reader, *this, table_of(*this)) != nullptr;
        return lmx60::ELMX_OK;
    });
    return own || *error != lmx60::ELMX_OK;
}

void HIPGSBase::unmarshal_anyattribute(lmx60::c_xml_reader& reader)
{
    read_other_attribute(reader, *this, table_of(*this));
}

lmx60::elmx_error HIPGSBase::unmarshal_attributes_check(lmx60::c_xml_reader& reader)
{
    return reading_code([&]() -> lmx60::elmx_error { return check_required_attributes(reader, table_of(*this)); });
}

bool HIPGSBase::unmarshal_body(lmx60::c_xml_reader& reader, lmx60::elmx_error* error)
{
    *error = reading_code([&]() -> lmx60::elmx_error {
        read_content_to_end(reader, *this, table_of(*this));
        return lmx60::ELMX_OK;
    });
    return *error == lmx60::ELMX_OK;
}

lmx60::elmx_error HIPGSBase::marshal_attributes(lmx60::c_xml_writer& writer) const
{
    write_attributes(writer, *this, table_of(*this));
    return lmx60::ELMX_OK;
}

lmx60::elmx_error HIPGSBase::marshal_child_elements(lmx60::c_xml_writer& writer) const
{
    write_content(writer, *this, table_of(*this));
    return lmx60::ELMX_OK;
}

void HIPGSBase::validationAssertion(bool ok, bool asError) const
{
    if (ok || !schema_debug_enabled())
        return;
    send(1, asError ? "@19-539@%s" : "@19-538@%s", getElementId());
}

const lmx60::s_ns_map* HIPGSBase::getNamespaceMap()
{
    return g_base_namespace_map;
}

const char* HIPGSBase::getNamespaceVorlix()
{
    return kVorlixNamespaceUri;
}

const char* HIPGSBase::getNamespaceSpirit()
{
    return kSpiritNamespaceUri;
}

const char* HIPGSBase::getNamespacePrefixSpirit()
{
    return g_base_namespace_map[1].prefix;
}

bool HIPGSBase::set_silent_lmx_errors(bool silent)
{
    bool previous = g_silent;
    g_silent = silent;
    return previous;
}

bool HIPGSBase::get_silent_lmx_errors()
{
    return g_silent;
}

lmx60::elmx_error HIPGSBase::lmx_error(lmx60::elmx_error code)
{
    if (code == lmx60::ELMX_OK || !schema_debug_enabled())
        return code;
    std::string description = lmx60::get_error_description(code);
    send(1, "@19-537@%s", description.c_str());
    return code;
}

lmx60::elmx_error HIPGSBase::lmx_error(lmx60::elmx_error code, const char* item, const char*, int)
{
    if (code == lmx60::ELMX_OK || !schema_debug_enabled())
        return code;
    std::string description = lmx60::get_error_description(code);
    send(2, "@19-536@%s%s", item ? item : "", description.c_str());
    return code;
}

bool HIPGSBase::dumpXml(std::stringstream& ss) const
{
    lmx60::elmx_error code = lmx60::ELMX_PENDING;
    int line = -1;
    std::string item;
    lmx60::s_debug_error record;
    lmx60::c_xml_writer::set_default_nl("\n");
    lmx60::c_xml_writer::set_default_tab("  ");
    lmx60::c_xml_writer::set_default_attribute_nl(" ");
    lmx60::c_xml_writer::set_default_attribute_tab("");
    {
        lmx60::c_xml_writer writer(ss, lmx60::c_xml_writer::include_xml_decl, nullptr, nullptr, nullptr, nullptr);
        try {
            code = lmx60::run_marshal([&] { return marshal(writer, getElementId()); });
            if (code == lmx60::ELMX_OK)
                code = writer.flush();
        } catch (const lmx60::lmx_exception&) {
            // A required child that was never created: the code keeps saying the write did not complete.
        }
        record = writer.get_debug_error();
    }
    if (code != lmx60::ELMX_OK) {
        line = record.document_line;
        item = record.item_name;
        report_failure(ss, code, line, item);
    }
    return code == lmx60::ELMX_OK;
}

bool HIPGSBase::readXml(const std::stringstream& ss)
{
    lmx60::elmx_error code = lmx60::ELMX_PENDING;
    std::string elementName;
    std::string text = ss.str();
    {
        lmx60::c_xml_reader_memory reader(lmx60::c_read_memory(text.data(), text.size()));
        reader.set_ns_map(ns_map_reader);
        try {
            code = reader.read_document_element();
            if (code == lmx60::ELMX_OK) {
                elementName = reader.element_qname();
                code = unmarshal(reader, elementName);
            }
        } catch (const lmx60::c_lmx_exception& e) {
            code = e.get_error();
        }
    }
    if (code != lmx60::ELMX_OK)
        report_failure(ss, code, -1, std::string());
    return code == lmx60::ELMX_OK;
}

}  // namespace HIPGSpirit
