"""How model members map onto the runtime's C++ value and holder types.

Pure lookups: every choice about storage is made here, once, so that the
class emitter only assembles text.
"""

VALUE_TYPES = {
    "string": "std::string",
    "bool": "bool",
    "big_int": "lmx60::c_big_int",
    "long_long": "long long",
    "double": "double",
    "float": "float",
    "date": "lmx60::c_date",
    "datetime": "lmx60::c_datetime",
    "string_list": "std::string",
    "double_list": "double",
}

# Non-string values always collapse their white space before conversion.
WHITESPACE = {"preserve": "lmx60::ews_preserve", "replace": "lmx60::ews_replace", "collapse": "lmx60::ews_collapse"}

MEMBER_KINDS = {
    "attribute": "MemberKind::attribute",
    "element": "MemberKind::element",
    "simple_content": "MemberKind::simple_content",
    "group": "MemberKind::group",
    "choice": "MemberKind::choice",
    "sequence": "MemberKind::sequence",
    "all": "MemberKind::sequence",
    "any": "MemberKind::any_element",
    "any_attribute": "MemberKind::any_attribute",
    "vendor_slot": "MemberKind::vendor_slot",
}

CONTENT_KINDS = {
    "sequence": "ContentKind::sequence",
    "choice": "ContentKind::choice",
    "all": "ContentKind::all",
    "simple": "ContentKind::simple",
    "empty": "ContentKind::empty",
}


def is_repeated(member):
    return member.max_occurs is None or member.max_occurs > 1


def is_list(member):
    return member.value_type in ("string_list", "double_list")


def value_type(member):
    return VALUE_TYPES[member.value_type]


def holder(member):
    """The runtime holder that stores the member in its class."""
    if member.kind == "any":
        return "lmx60::ct_simple_multi<lmx60::c_any_info>"
    if member.kind == "any_attribute":
        return "lmx60::ct_simple_multi<lmx60::c_any_attribute>"
    if member.value_type is None:
        template = "ct_complex_multi" if is_repeated(member) else "ct_complex_single"
        return "lmx60::%s<%s>" % (template, member.class_name)
    if member.value_type == "empty":
        return "lmx60::ct_empty_single<>"
    if is_list(member):
        template = "ct_simple_list_single" if member.min_occurs > 0 else "ct_simple_list_optional"
        return "lmx60::%s<%s>" % (template, value_type(member))
    if is_repeated(member):
        return "lmx60::ct_simple_multi<%s>" % value_type(member)
    if member.min_occurs > 0 or member.kind == "simple_content":
        return "lmx60::ct_simple_single<%s>" % value_type(member)
    return "lmx60::ct_simple_optional<%s>" % value_type(member)


def whitespace(member):
    if member.value_type in ("string", "string_list"):
        return WHITESPACE[member.whitespace]
    return WHITESPACE["collapse"]


def max_occurs(member):
    return "kUnbounded" if member.max_occurs is None else str(member.max_occurs)


def cpp_string(text):
    """A C++ string literal for `text` (UTF-8 kept as is)."""
    escaped = text.replace("\\", "\\\\").replace('"', '\\"').replace("\n", "\\n").replace("\t", "\\t")
    return '"%s"' % escaped


def literal(value_type, text):
    """A C++ expression of the member's value type for a schema default or fixed text."""
    if value_type == "string":
        return cpp_string(text)
    if value_type == "bool":
        return "true" if text.strip() in ("true", "1") else "false"
    if value_type in ("long_long", "double"):
        return text.strip()
    if value_type == "float":
        return text.strip() + "f" if "." in text or "e" in text.lower() else text.strip() + ".0f"
    return "%s(%s)" % (VALUE_TYPES[value_type], cpp_string(text.strip()))
