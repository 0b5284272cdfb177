// Reads one element for a type written by hand: its attributes, its content, and the end tag. The
// type derives a small helper that holds the object being filled and overrides the steps it has:
//
//     class port_reader : public lmx60::c_unmarshal_helper {
//     public:
//         port_reader(lmx60::c_xml_reader& reader, port* target) : c_unmarshal_helper(reader), m_port(target) {}
//         bool unmarshal_attribute(lmx60::elmx_error*) override { ... reader().tokenise(attrs, exae_attribute) ... }
//         void unmarshal_complex_body(lmx60::elmx_error* error) override { ... reader().tokenise(elems, exae_element) ... }
//     private:
//         port* m_port;
//     };
//
//     lmx60::elmx_error code = port_reader(reader, &p).unmarshal_complex_content("vorlix:port", kVorlixId);
#ifndef IPXACT_LMX60_C_UNMARSHAL_HELPER_H
#define IPXACT_LMX60_C_UNMARSHAL_HELPER_H

#include <cstddef>

#include <ipxact/lmx60/c_xml_reader.h>
#include <ipxact/lmx60/lmx60_error.h>

namespace lmx60 {

class c_unmarshal_helper {
public:
    explicit c_unmarshal_helper(c_xml_reader& reader) : m_reader(reader) {}
    virtual ~c_unmarshal_helper() = default;
    c_unmarshal_helper(const c_unmarshal_helper&) = delete;
    c_unmarshal_helper& operator=(const c_unmarshal_helper&) = delete;

    // The reader stands on the start tag of the element `name` in the namespace with id `nsId` (the
    // prefix of `name` does not matter; -1 for an element in no namespace). Each reads the element and
    // leaves the reader on its end tag, with the reader's item name as it was. A fault on the way comes
    // back as its code, the first one also in the reader's debug record; a handler that carries on past
    // faults gets 0.
    //
    // Attributes go to unmarshal_attribute one by one; one it does not take is a fault (code 9), except
    // those of the XML Schema instance namespace, which are hints for validators. Then
    // unmarshal_attributes_check runs. An element that is not the one named is code 16; text where only
    // elements may stand is code 10; an element that the body leaves unread is code 8.
    elmx_error unmarshal_complex_content(const char* name, int nsId);
    elmx_error unmarshal_simple_content(const char* name, int nsId);
    // Neither text nor elements are allowed.
    elmx_error unmarshal_empty_content(const char* name, int nsId);

    // One attribute, the reader standing on it: true when it is one of the type's own. A fault the step
    // finds itself is best reported through reader().capture_error, which records it and lets a host's
    // handler decide; a code put in *error stops the read with that code.
    virtual bool unmarshal_attribute(elmx_error* error);
    // After the attributes: required ones that did not come are the type's to report.
    virtual void unmarshal_attributes_check(elmx_error* error);
    // The reader stands on the element's start tag; reads the children (tokenise with exae_element moves
    // to the first one) and returns on the element's end tag or on the first child it does not take.
    virtual void unmarshal_complex_body(elmx_error* error);
    // The reader stands on the element's start tag; reads its text, usually with get_element_value.
    virtual void unmarshal_simple_body(elmx_error* error);

protected:
    c_xml_reader& reader() { return m_reader; }

private:
    enum class content { complex, simple, empty };

    elmx_error unmarshal_element(const char* name, int nsId, content kind);
    void check_element(const char* name, int nsId);
    elmx_error read_attributes();
    elmx_error read_content(content kind, size_t level);
    elmx_error read_body(content kind);
    void finish_element(size_t level);

    c_xml_reader& m_reader;
};

}  // namespace lmx60

#endif
