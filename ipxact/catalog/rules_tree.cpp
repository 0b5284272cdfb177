#include "rules_tree.h"

#include <cctype>
#include <cstring>
#include <sstream>

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <ipxact/catalog/document.h>
#include <ipxact/spirit/HIPGSTop.h>

namespace ipxact {
namespace catalog {

namespace {

const char kSpiritNamespace[] = "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009";

const xmlNode* element_of(const xmlNode* node)
{
    return node && node->type == XML_ATTRIBUTE_NODE ? node->parent : node;
}

std::string trimmed(const xmlChar* text)
{
    if (!text)
        return std::string();
    std::string s(reinterpret_cast<const char*>(text));
    const char* space = " \t\r\n";
    size_t first = s.find_first_not_of(space);
    if (first == std::string::npos)
        return std::string();
    return s.substr(first, s.find_last_not_of(space) - first + 1);
}

}  // namespace

struct RulesTree::Impl {
    xmlDocPtr doc = nullptr;
    ~Impl()
    {
        if (doc)
            xmlFreeDoc(doc);
    }
};

RulesTree::RulesTree(const Document& document) : m_impl(new Impl)
{
    std::ostringstream text;
    lmx60::s_debug_error debug;
    if (document.top().marshal(text, &debug) != lmx60::ELMX_OK)
        return;
    const std::string xml = text.str();
    m_impl->doc = xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "rules.xml", nullptr,
                                XML_PARSE_NONET | XML_PARSE_NOBLANKS | XML_PARSE_COMPACT | XML_PARSE_NOERROR |
                                    XML_PARSE_NOWARNING | XML_PARSE_HUGE);
}

RulesTree::~RulesTree() = default;

bool RulesTree::ok() const
{
    return m_impl->doc && xmlDocGetRootElement(m_impl->doc);
}

RulesTree::Node RulesTree::root() const
{
    return m_impl->doc ? xmlDocGetRootElement(m_impl->doc) : nullptr;
}

namespace {

// Whether an expression is a plain chain of child steps of the standard's namespace
// ("spirit:a/spirit:b"), which is walked directly: rules ask for such chains once per element,
// and compiling and running XPath for each would cost more than the rest of the rule.
bool is_child_chain(const char* xpath)
{
    if (std::strncmp(xpath, "spirit:", 7) != 0)
        return false;
    for (const char* c = xpath; *c; ++c)
        if (!(std::isalnum(static_cast<unsigned char>(*c)) || *c == ':' || *c == '/' || *c == '_'))
            return false;
    if (std::strstr(xpath, "//"))
        return false;
    for (const char* step = std::strchr(xpath, '/'); step; step = std::strchr(step + 1, '/'))
        if (std::strncmp(step + 1, "spirit:", 7) != 0)
            return false;
    return true;
}

void walk_chain(const xmlNode* from, const char* chain, std::vector<RulesTree::Node>& out)
{
    const char* step = chain + 7;  // past "spirit:"
    const char* end = std::strchr(step, '/');
    size_t length = end ? static_cast<size_t>(end - step) : std::strlen(step);
    for (const xmlNode* c = from->children; c; c = c->next) {
        if (c->type != XML_ELEMENT_NODE || !c->ns || std::strcmp(reinterpret_cast<const char*>(c->ns->href), kSpiritNamespace) != 0)
            continue;
        const char* name = reinterpret_cast<const char*>(c->name);
        if (std::strlen(name) != length || std::strncmp(name, step, length) != 0)
            continue;
        if (end)
            walk_chain(c, end + 1, out);
        else
            out.push_back(c);
    }
}

}  // namespace

std::vector<RulesTree::Node> RulesTree::select(const char* xpath, Node context) const
{
    std::vector<Node> nodes;
    if (!ok())
        return nodes;
    if (is_child_chain(xpath)) {
        walk_chain(context ? context : root(), xpath, nodes);
        return nodes;
    }
    xmlXPathContextPtr xp = xmlXPathNewContext(m_impl->doc);
    if (!xp)
        return nodes;
    xmlXPathRegisterNs(xp, BAD_CAST "spirit", BAD_CAST kSpiritNamespace);
    // libxml2 takes a non-const node but only reads it.
    xp->node = const_cast<xmlNode*>(context ? context : root());
    xmlXPathObjectPtr result = xmlXPathEvalExpression(BAD_CAST xpath, xp);
    if (result && result->type == XPATH_NODESET && result->nodesetval)
        for (int i = 0; i < result->nodesetval->nodeNr; ++i)
            nodes.push_back(result->nodesetval->nodeTab[i]);
    xmlXPathFreeObject(result);
    xmlXPathFreeContext(xp);
    return nodes;
}

bool RulesTree::field(Node member, const char* key, std::string* value) const
{
    if (std::strcmp(key, ".") == 0) {
        *value = text(member);
        return true;
    }
    if (std::strncmp(key, "@spirit:", 8) == 0) {
        if (!has_attribute(member, key + 8))
            return false;
        *value = attribute(member, key + 8);
        return true;
    }
    std::vector<Node> found = select(key, member);
    if (found.empty())
        return false;
    *value = text(found.front());
    return true;
}

RulesTree::Node RulesTree::parent(Node node)
{
    const xmlNode* e = element_of(node);
    return e && e->parent && e->parent->type == XML_ELEMENT_NODE ? e->parent : nullptr;
}

bool RulesTree::is(Node node, const char* local)
{
    return node && node->type == XML_ELEMENT_NODE && std::strcmp(reinterpret_cast<const char*>(node->name), local) == 0;
}

std::string RulesTree::path(Node node)
{
    std::vector<std::string> steps;
    for (const xmlNode* e = element_of(node); e && e->type == XML_ELEMENT_NODE; e = e->parent) {
        // The line index counts siblings of the same local name, whatever their namespace.
        size_t position = 1;
        for (const xmlNode* s = e->prev; s; s = s->prev)
            if (s->type == XML_ELEMENT_NODE && std::strcmp(reinterpret_cast<const char*>(s->name),
                                                           reinterpret_cast<const char*>(e->name)) == 0)
                ++position;
        std::string step = reinterpret_cast<const char*>(e->name);
        if (position != 1)
            step += "[" + std::to_string(position) + "]";
        steps.push_back(std::move(step));
    }
    std::string joined;
    for (auto it = steps.rbegin(); it != steps.rend(); ++it)
        joined += (joined.empty() ? "" : "/") + *it;
    return joined;
}

std::string RulesTree::text(Node node)
{
    if (!node)
        return std::string();
    xmlChar* content = xmlNodeGetContent(node);
    std::string value = trimmed(content);
    xmlFree(content);
    return value;
}

std::string RulesTree::attribute(Node element, const char* local)
{
    if (!element || element->type != XML_ELEMENT_NODE)
        return std::string();
    xmlChar* value = xmlGetNsProp(element, BAD_CAST local, BAD_CAST kSpiritNamespace);
    std::string s = value ? reinterpret_cast<const char*>(value) : "";
    xmlFree(value);
    return s;
}

bool RulesTree::has_attribute(Node element, const char* local)
{
    return element && element->type == XML_ELEMENT_NODE &&
           xmlHasNsProp(element, BAD_CAST local, BAD_CAST kSpiritNamespace) != nullptr;
}

}  // namespace catalog
}  // namespace ipxact
