// The class of a global element of a named type (HIPGSBusInterface) derives from the type's class
// (HIPGSBusInterfaceType) and shares its member table. What must then hold for each such element: the
// same document writes the same text read through the element's class, through the root dispatcher
// (which holds the type's class) and, as a child, through the type's class inside a parent; and the
// element's class keeps its own copy, comparison, clone and reset. A member or slot that one class
// gains and the other not shows up as a difference in the written text.
#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <regex>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#include <ipxact/spirit/HIPGSpirit.h>

#include "corpus.h"
#include "write_as.h"
#include "global_documents.h"

using namespace HIPGSpirit;

namespace {

const std::string kHint = "xsi:schemaLocation=\"http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009 index.xsd\"";
const std::string kNamespaces =
    " xmlns:spirit=\"http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009\""
    " xmlns:vorlix=\"http://www.vorlix.com/XMLSchema/ipxact/1.0\""
    " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"";
// Open content before a typed slot's element: written after it when the slot took the element.
const std::string kForeign = "<acme:first xmlns:acme=\"urn:example:acme\" acme:note=\"stays open content\"/>";
const std::regex kHints(" xsi:(schemaLocation|noNamespaceSchemaLocation)=\"[^\"]*\"");
const std::string kVlnv =
    "<spirit:vendor>example.com</spirit:vendor><spirit:library>lib</spirit:library>"
    "<spirit:name>n</spirit:name><spirit:version>1.0</spirit:version>";
const std::string kBusType =
    "<spirit:busType spirit:vendor=\"example.com\" spirit:library=\"lib\" spirit:name=\"bus\" spirit:version=\"1.0\"/>";

using spirit_test::write_as;

using writer = std::string (*)(const std::string& xml);

// The global document of `root` from the shared set, standard or vendor; the hint goes on it below.
std::string global_document(const std::string& root)
{
    for (const auto& set : {global_documents::standard(), global_documents::vendor()})
        for (const global_documents::document& d : set)
            if (d.root == root)
                return d.text;
    return "";
}

// The document element alone: no XML declaration, no namespace declarations, no hints.
std::string bare_element(const std::string& document)
{
    const size_t declaration = document.find("?>");
    std::string text = document.substr(document.find('<', declaration == std::string::npos ? 0 : declaration));
    text = std::regex_replace(text, std::regex(" xmlns:[a-z]+=\"[^\"]*\""), "");
    return std::regex_replace(text, kHints, "");
}

// The first element named `qname` in `text`, its layout between tags taken out: where in a document an
// element stands changes its indentation and namespace declarations, not what it holds.
std::string element_in(const std::string& text, const std::string& qname)
{
    size_t start = 0;
    for (;;) {
        start = text.find("<" + qname, start);
        if (start == std::string::npos)
            return "no " + qname + " in:\n" + text;
        char next = text[start + qname.size() + 1];
        if (next == ' ' || next == '>' || next == '/')
            break;
        ++start;
    }
    size_t tagEnd = text.find('>', start);
    size_t end = text[tagEnd - 1] == '/' ? tagEnd + 1 : text.find("</" + qname + ">", start) + qname.size() + 3;
    std::string element = text.substr(start, end - start);
    element = std::regex_replace(element, std::regex(" xmlns:[a-z]+=\"[^\"]*\""), "");
    element = std::regex_replace(element, kHints, "");
    return std::regex_replace(element, std::regex(">\\s+<"), "><");
}

// What must hold of the classes themselves, whatever document they read.
template <class Element, class Type>
std::string same_class_body(const char* root)
{
    std::string faults;
    if (!std::is_base_of_v<Type, Element>)
        faults += "the element's class does not derive from the type's; ";
    const ClassInfo& element = Element::s_class_info;
    const ClassInfo& type = Type::s_class_info;
    if (element.members != type.members || element.member_count != type.member_count || element.content != type.content)
        faults += "the member tables differ; ";
    if (std::string(element.element_id) != root || element.ns_id == 0 || type.ns_id != 0)
        faults += std::string("element names: ") + element.element_id + " / " + type.element_id + "; ";
    Element object;
    if (object.getClassInfo() != &element || std::string(object.getElementId()) != root)
        faults += "the object does not describe itself as its element; ";
    return faults;
}

// Copy, comparison, clone and reset return and compare the element's class, over a read document.
template <class Element>
std::string keeps_its_own_value_semantics(const std::string& xml)
{
    Element object;
    lmx60::s_debug_error debug;
    if (object.unmarshal(xml.data(), xml.size(), &debug) != lmx60::ELMX_OK)
        return "read failed: " + debug.to_string();
    std::string faults;
    Element copy(object);
    if (!(copy == object))
        faults += "a copy differs; ";
    std::unique_ptr<Element> clone(object.clone());
    const Element& cloned = *clone;
    if (typeid(cloned) != typeid(Element) || !(cloned == object))
        faults += "clone is not an equal element object; ";
    std::unique_ptr<HIPGSBase> fresh(object.newObj());
    const HIPGSBase& made = *fresh;
    if (typeid(made) != typeid(Element))
        faults += "newObj is not an element object; ";
    Element assigned;
    assigned = object;
    object.reset();
    if (!(assigned == copy) || object == copy || !(object == Element()))
        faults += "assignment or reset; ";
    Element swapped;
    swapped.swap(assigned);
    if (!(swapped == copy) || !(assigned == Element()))
        faults += "swap; ";
    return faults;
}

struct element_case {
    const char* root;
    std::string (*class_body)(const char* root);
    writer through_element;
    std::string (*value_semantics)(const std::string& xml);
    // The element as a child: the parent document around it, and the class of the parent's element.
    std::string parent_root;
    std::string before;
    std::string after;
    writer through_parent;
};

template <class Element, class Type>
element_case pair(const char* root, std::string parentRoot = "", std::string before = "", std::string after = "",
                  writer throughParent = nullptr)
{
    return {root, same_class_body<Element, Type>, write_as<Element>, keeps_its_own_value_semantics<Element>,
            std::move(parentRoot), std::move(before), std::move(after), throughParent};
}

std::vector<element_case> cases()
{
    const std::string memoryMap = "<spirit:memoryMap><spirit:name>mm</spirit:name>";
    const std::string busInterface = "<spirit:name>b</spirit:name>" + kBusType;
    return {
        pair<HIPGSAbstractor2, HIPGSAbstractorType>("spirit:abstractor"),
        pair<HIPGSAbstractorGenerator, HIPGSInstanceGeneratorType>(
            "spirit:abstractorGenerator", "spirit:abstractorGenerators", "", "", write_as<HIPGSAbstractorGenerators>),
        pair<HIPGSAddressBlock, HIPGSAddressBlockType>("spirit:addressBlock", "spirit:memoryMaps", memoryMap,
                                                       "</spirit:memoryMap>", write_as<HIPGSMemoryMaps>),
        pair<HIPGSAddressSpaceRef2, HIPGSAddrSpaceRefType>("spirit:addressSpaceRef", "spirit:busInterface",
                                                           busInterface + "<spirit:master>", "</spirit:master>",
                                                           write_as<HIPGSBusInterface>),
        pair<HIPGSBank, HIPGSAddressBankType>("spirit:bank", "spirit:memoryMaps", memoryMap, "</spirit:memoryMap>",
                                              write_as<HIPGSMemoryMaps>),
        pair<HIPGSBusInterface, HIPGSBusInterfaceType>("spirit:busInterface", "spirit:busInterfaces", "", "",
                                                       write_as<HIPGSBusInterfaces>),
        pair<HIPGSComponent, HIPGSComponentType>("spirit:component"),
        pair<HIPGSDriver, HIPGSDriverType>("spirit:driver", "spirit:port",
                                           "<spirit:name>p</spirit:name><spirit:wire><spirit:direction>in</spirit:direction>",
                                           "</spirit:wire>", write_as<HIPGSPort>),
        pair<HIPGSFileSet, HIPGSFileSetType>("spirit:fileSet", "spirit:fileSets", "", "", write_as<HIPGSFileSets>),
        pair<HIPGSMemoryMapRef, HIPGSMemoryMapRefType>("spirit:memoryMapRef", "spirit:busInterface",
                                                       busInterface + "<spirit:slave>", "</spirit:slave>",
                                                       write_as<HIPGSBusInterface>),
        pair<HIPGSModel, HIPGSModelType>("spirit:model", "spirit:component", kVlnv, "", write_as<HIPGSComponent>),
        pair<HIPGSParameter, HIPGSNameValuePairType>("spirit:parameter", "spirit:parameters", "", "",
                                                     write_as<HIPGSParameters>),
        pair<HIPGSPort, HIPGSPortType>("spirit:port", "spirit:model", "<spirit:ports>", "</spirit:ports>",
                                       write_as<HIPGSModel>),
        pair<HIPGSSubCoreRef, HIPGSSubCoreRefType>("vorlix:subCoreRef", "spirit:fileSet",
                                                   "<spirit:name>fs</spirit:name><spirit:vendorExtensions>" + kForeign,
                                                   "</spirit:vendorExtensions>", write_as<HIPGSFileSet>),
    };
}

void PrintTo(const element_case& c, std::ostream* out)
{
    *out << c.root;
}

std::string with_hint(const std::string& document, const std::string& root)
{
    const std::string tag = "<" + root;
    size_t at = document.find(tag) + tag.size();
    const bool declared = document.find("xmlns:xsi=") != std::string::npos;
    return document.substr(0, at) + (declared ? "" : " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"") +
           " " + kHint + document.substr(at);
}

class GlobalElementOfANamedType : public ::testing::TestWithParam<element_case> {};

TEST_P(GlobalElementOfANamedType, SharesTheTypesClassBody)
{
    EXPECT_EQ(GetParam().class_body(GetParam().root), "");
}

TEST_P(GlobalElementOfANamedType, KeepsItsOwnCopyComparisonCloneAndReset)
{
    const std::string document = global_document(GetParam().root);
    ASSERT_FALSE(document.empty()) << "no global document of " << GetParam().root;
    EXPECT_EQ(GetParam().value_semantics(document), "");
}

TEST_P(GlobalElementOfANamedType, WritesTheSameThroughItsClassTheDispatcherAndItsParent)
{
    const element_case& c = GetParam();
    const std::string document = with_hint(global_document(c.root), c.root);
    ASSERT_NE(document.find(kHint), std::string::npos) << document;

    const std::string expected = c.through_element(document);
    EXPECT_NE(expected.find(kHint), std::string::npos) << "the hint was lost:\n" << expected;
    EXPECT_EQ(write_as<HIPGSTop>(document), expected) << "read through HIPGSTop";

    if (c.through_parent == nullptr)
        return;
    const std::string parent = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<" + c.parent_root + kNamespaces + ">" +
                               c.before + bare_element(document) + c.after + "</" + c.parent_root + ">\n";
    const bool standard = std::string(c.root).rfind("spirit:", 0) == 0;
    if (standard && corpus::have_xmllint() && !std::ifstream(corpus::official_schema()).fail()) {
        ASSERT_EQ(corpus::schema_errors(parent), "") << parent;
    }
    const std::string throughParent = c.through_parent(parent);
    EXPECT_EQ(element_in(throughParent, c.root), element_in(expected, c.root)) << "read inside " << c.parent_root;
    // The parent is read through its element's class and through the dispatcher, which holds the class
    // of its type where it has one: a slot that only one of them fills moves the foreign element.
    EXPECT_EQ(write_as<HIPGSTop>(parent), throughParent) << c.parent_root << " read through HIPGSTop";
}

INSTANTIATE_TEST_SUITE_P(EveryOne, GlobalElementOfANamedType, ::testing::ValuesIn(cases()),
                         [](const ::testing::TestParamInfo<element_case>& test) {
                             std::string name = test.param.root;
                             return name.substr(name.find(':') + 1);
                         });

}  // namespace
