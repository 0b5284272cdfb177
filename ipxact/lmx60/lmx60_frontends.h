// Whole-document reading and writing for any bound type T: from and to a file, a stream, a string,
// a memory buffer or a captured element.
//
// T provides: `elmx_error unmarshal(c_xml_reader&)` (reads the document element and its content),
// `elmx_error marshal(c_xml_writer&, const char* name) const` and `const char* getElementId() const`.
#ifndef IPXACT_LMX60_LMX60_FRONTENDS_H
#define IPXACT_LMX60_LMX60_FRONTENDS_H

#include <cstddef>
#include <functional>
#include <ostream>
#include <sstream>
#include <string>

#include <ipxact/lmx60/c_any_info.h>
#include <ipxact/lmx60/c_xml_reader.h>
#include <ipxact/lmx60/c_xml_writer.h>
#include <ipxact/lmx60/lmx60_error.h>

namespace lmx60 {

// Writes a document through `write` into a temporary file beside `file` and renames it over `file`
// only when everything was written; otherwise the temporary is removed and an earlier `file` stays.
elmx_error write_file_atomically(const char* file, const std::function<elmx_error(std::ostream&)>& write);

// Deletes a file, such as one left half written: 0 when it is gone, 1 when there was no such file or it
// could not be deleted. A name that turns out to be a directory's is refused, never removed.
elmx_error remove(const char* file);

// Runs a writer-side marshal and turns the runtime's unwinding into a code.
elmx_error run_marshal(const std::function<elmx_error()>& marshal);

template <class T>
elmx_error marshal(const T& obj, std::ostream& os, s_debug_error* debug)
{
    c_xml_writer writer(os, c_xml_writer::include_xml_decl, nullptr, nullptr, nullptr, nullptr);
    elmx_error result = run_marshal([&] { return obj.marshal(writer, obj.getElementId()); });
    if (result == ELMX_OK)
        result = writer.flush();
    if (debug) {
        *debug = writer.get_debug_error();
        if (result != ELMX_OK && debug->error == ELMX_OK)
            debug->set(result, obj.getElementId(), __FILE__, __LINE__, -1);
    }
    return result;
}

template <class T>
elmx_error marshal(const T& obj, const char* file, s_debug_error* debug)
{
    if (debug)
        debug->clear();
    elmx_error result = write_file_atomically(file, [&](std::ostream& os) { return marshal(obj, os, debug); });
    // The file could not be created, finished or put in place: the record names the file, as a
    // reader's record does for a file it cannot open.
    if (result != ELMX_OK && debug && debug->error == ELMX_OK)
        debug->set(result, file ? file : "", __FILE__, __LINE__, -1);
    return result;
}

template <class T>
elmx_error marshal(const T& obj, std::string* out, s_debug_error* debug)
{
    std::ostringstream os;
    elmx_error result = marshal(obj, os, debug);
    *out = os.str();
    return result;
}

template <class T>
elmx_error unmarshal_from(T* obj, c_xml_reader& reader, s_debug_error* debug)
{
    elmx_error result = obj->unmarshal(reader);
    if (debug)
        *debug = reader.get_debug_error();
    return result;
}

template <class T>
elmx_error unmarshal(T* obj, const char* data, size_t length, s_debug_error* debug)
{
    c_xml_reader_memory reader(data, length, "<unspecified>");
    return unmarshal_from(obj, reader, debug);
}

template <class T>
elmx_error unmarshal(T* obj, const char* file, s_debug_error* debug)
{
    c_xml_reader_file reader(file);
    return unmarshal_from(obj, reader, debug);
}

template <class T>
elmx_error unmarshal(T* obj, const c_any_info& any, s_debug_error* debug)
{
    const std::string& xml = any.get_xml();
    c_xml_reader_memory reader(xml.data(), xml.size(), "<captured element>");
    return unmarshal_from(obj, reader, debug);
}

}  // namespace lmx60

#endif
