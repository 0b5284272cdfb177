#include <ipxact/lmx60/lmx60_error.h>

namespace lmx60 {

thread_local s_debug_error debug_error;

const char* get_error_description(elmx_error code)
{
    switch (code) {
    case ELMX_OK: return "no error";
    case ELMX_NO_FILE: return "unable to open file";
    case ELMX_NOT_WELL_FORMED: return "document is not well-formed XML";
    case ELMX_ENCODING_ERROR: return "invalid character encoding";
    case ELMX_LIMIT_EXCEEDED: return "document exceeds a nesting, entity or size limit";
    case ELMX_EXTERNAL_ENTITY: return "external entity or DTD not allowed";
    case ELMX_NO_ROOT: return "no document element found";
    case ELMX_ELEMENT_NOT_FOUND: return "required element has no value to write";
    case ELMX_UNEXPECTED_ELEMENT: return "unexpected element";
    case ELMX_UNEXPECTED_ATTRIBUTE: return "unexpected attribute";
    case ELMX_UNEXPECTED_TEXT: return "unexpected text in element-only content";
    case ELMX_BAD_VALUE: return "value is not valid for its type";
    case ELMX_DUPLICATE_ATTRIBUTE: return "duplicate attribute";
    case ELMX_BAD_CHARACTER: return "character not allowed in XML 1.0";
    case ELMX_WRITE_FAILED: return "output stream failed";
    case ELMX_UNDEFINED_NAMESPACE: return "undefined namespace prefix";
    case ELMX_WRONG_ELEMENT: return "unexpected document element";
    case ELMX_TOO_MANY_ITEMS: return "too many occurrences of element";
    case ELMX_EMPTY_LIST: return "list value has no items";
    case ELMX_REQUIRED_ELEMENT_MISSING: return "expected element missing";
    case ELMX_PATTERN_FACET: return "value does not match its pattern";
    case ELMX_REQUIRED_ATTRIBUTE_MISSING: return "required attribute missing";
    case ELMX_OCCURRENCE_ERROR: return "number of items outside the allowed occurrences";
    case ELMX_NO_CHOICE_ALTERNATIVE: return "no alternative of a required choice present";
    case ELMX_VALUE_FACET: return "value outside its allowed length or range";
    case ELMX_CONSTRAINT_VALUE: return "constraint value out of range";
    case ELMX_ENUMERATION_FACET: return "value is not one of the allowed values";
    case ELMX_INTERNAL: return "internal error in object state";
    case ELMX_PENDING: return "operation did not complete";
    default: return nullptr;
    }
}

void s_debug_error::set(elmx_error code, const std::string& item, const char* file, int line, int docLine)
{
    error = code;
    item_name = item;
    source_file = file;
    source_line = line;
    document_line = docLine;
}

void s_debug_error::clear()
{
    *this = s_debug_error();
}

std::string s_debug_error::to_string() const
{
    std::string text;
    if (document_line > 0)
        text += "line " + std::to_string(document_line) + ": ";
    const char* description = get_error_description(error);
    text += description ? description : "error " + std::to_string(error);
    if (!item_name.empty())
        text += " (" + item_name + ")";
    return text;
}

}  // namespace lmx60
