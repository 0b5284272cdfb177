// Root of every bound class: the virtual interface through which any object is cloned, reset, named,
// read and written, and the diagnostics path of the whole binding.
#ifndef IPXACT_SPIRIT_HIPGSBASE_H
#define IPXACT_SPIRIT_HIPGSBASE_H

#include <ostream>
#include <sstream>
#include <string>

#include <ipxact/lmx60/c_xml_reader.h>
#include <ipxact/lmx60/c_xml_writer.h>
#include <ipxact/lmx60/lmx60_error.h>
#include <ipxact/lmx60/lmx60_types.h>

namespace HIPGSpirit {

class HIPGSBase {
public:
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
