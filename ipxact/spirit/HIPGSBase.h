// Root of every bound class: the virtual interface through which any object is cloned, reset, named,
// read and written, and the diagnostics path of the whole binding.
#ifndef IPXACT_SPIRIT_HIPGSBASE_H
#define IPXACT_SPIRIT_HIPGSBASE_H

#include <cstddef>
#include <ostream>
#include <sstream>
#include <string>

#include <ipxact/lmx60/c_xml_reader.h>
#include <ipxact/lmx60/c_xml_writer.h>
#include <ipxact/lmx60/lmx60_error.h>
#include <ipxact/lmx60/lmx60_types.h>

namespace HIPGSpirit {

struct ClassInfo;

class HIPGSBase {
public:
    // Bound objects live in the runtime's storage for small blocks (lmx60_storage.h).
    static void* operator new(std::size_t size);
    static void operator delete(void* object) noexcept;

    virtual ~HIPGSBase();
    virtual HIPGSBase* cloneObj() const = 0;
    virtual HIPGSBase* newObj() const = 0;
    virtual void reset();
    virtual const char* getElementId() const = 0;
    virtual lmx60::elmx_error unmarshal(lmx60::c_xml_reader& reader, const std::string& name) = 0;
    // Pure, but defined: a type that cannot be written throws HEXAlgException from here.
    virtual lmx60::elmx_error marshal(lmx60::c_xml_writer& writer, const char* name) const = 0;
    virtual lmx60::elmx_error marshal(std::ostream& os, lmx60::s_debug_error* debug) const;
    virtual lmx60::elmx_error marshal(const char* file, lmx60::s_debug_error* debug) const;
    virtual lmx60::elmx_error unmarshal(const char* file, lmx60::s_debug_error* debug);
    // Reports a broken occurrence rule (asError: the object cannot be written as it stands).
    virtual void validationAssertion(bool ok, bool asError) const;
    // The table that describes this object's class to the engine; null in a class that reads and
    // writes itself by hand, which then hides the steps below with its own.
    virtual const ClassInfo* getClassInfo() const { return nullptr; }

    // The steps of reading one element, for a driver such as lmx60::c_unmarshal_helper; the virtual
    // unmarshal(reader, name) runs them in this order. Faults go through the reader; a code that stops
    // the read comes back in *error (or as the result).
    //
    // The reader stands on an attribute of the start tag: true when it is one of the class's own.
    bool unmarshal_attributes(lmx60::c_xml_reader& reader, lmx60::elmx_error* error);
    // An attribute that unmarshal_attributes did not take: kept where the class admits any
    // attribute, a fault (code 9) otherwise; hints for validators (xsi) are passed over.
    void unmarshal_anyattribute(lmx60::c_xml_reader& reader);
    // After the attributes: each required one the start tag does not carry is code 25.
    lmx60::elmx_error unmarshal_attributes_check(lmx60::c_xml_reader& reader);
    // The content, from the start tag: the children in schema order, or the simple value. The reader
    // ends on the element's end tag. False when a fault stopped the read.
    bool unmarshal_body(lmx60::c_xml_reader& reader, lmx60::elmx_error* error);

    // The steps of writing one element, inside its start tag as the writer has opened it.
    lmx60::elmx_error marshal_attributes(lmx60::c_xml_writer& writer) const;
    lmx60::elmx_error marshal_child_elements(lmx60::c_xml_writer& writer) const;

    static const lmx60::s_ns_map* getNamespaceMap();
    static int getNamespaceIdVorlix() { return 1000; }
    static int getNamespaceIdSpirit() { return 1001; }
    static const char* getNamespaceVorlix();
    static const char* getNamespaceSpirit();
    static const char* getNamespacePrefixVorlix() { return "vorlix"; }
    static const char* getNamespacePrefixSpirit();

    // Returns the previous value, so a caller can restore it after a quiet stretch.
    static bool set_silent_lmx_errors(bool silent);
    static bool get_silent_lmx_errors();

    static lmx60::elmx_error lmx_error(lmx60::elmx_error code);
    static lmx60::elmx_error lmx_error(lmx60::elmx_error code, const char* item, const char* file, int line);

    bool dumpXml(std::stringstream& ss) const;
    bool readXml(const std::stringstream& ss);

protected:
    HIPGSBase() = default;
    HIPGSBase(const HIPGSBase&) = default;
    HIPGSBase& operator=(const HIPGSBase&) = default;
};

}  // namespace HIPGSpirit

#endif
