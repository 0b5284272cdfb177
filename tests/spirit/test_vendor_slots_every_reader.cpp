// A typed vendor slot is filled the same whichever class reads its owner: the class of the document
// element, the root dispatcher, or the owner's parent. Each owner's spirit:vendorExtensions holds a
// foreign element first and the slot element after it; an element that went into the slot is written
// first, one that stayed open content keeps its place. So the written text tells which happened.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <string>

#include <ipxact/spirit/HIPGSpirit.h>

#include "corpus.h"
#include "write_as.h"

using namespace HIPGSpirit;

namespace {

const std::string kNamespaces =
    " xmlns:spirit=\"http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009\""
    " xmlns:vorlix=\"http://www.vorlix.com/XMLSchema/ipxact/1.0\" xmlns:acme=\"urn:example:acme\"";
const std::string kVlnv =
    "<spirit:vendor>example.com</spirit:vendor><spirit:library>lib</spirit:library>"
    "<spirit:name>n</spirit:name><spirit:version>1.0</spirit:version>";
const std::string kForeign = "<acme:first acme:note=\"stays open content\"/>";

// The slot element as the vendor schema's sample of it, without its XML declaration.
std::string slot_element(const std::string& slot)
{
    std::string text = corpus::read_file(std::string(IPXACT_SOURCE_DIR) + "/tests/schema/samples/" + slot + ".xml");
    return text.substr(text.find("?>") + 2);
}

std::string extensions(const std::string& slot)
{
    return "<spirit:vendorExtensions>" + kForeign + slot_element(slot) + "</spirit:vendorExtensions>";
}

// `body` with the root element's start tag given its namespace declarations.
std::string document(const std::string& root, const std::string& content)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<" + root + kNamespaces + ">" + content + "</" + root + ">\n";
}

using reader = std::string (*)(const std::string& xml);

using spirit_test::write_as;

// The owner's spirit:vendorExtensions as written, with layout and namespace declarations taken out:
// those depend on where in a document the owner stands, not on what it holds.
std::string vendor_block(const std::string& written)
{
    size_t start = written.find("<spirit:vendorExtensions>");
    size_t end = written.find("</spirit:vendorExtensions>");
    if (start == std::string::npos || end == std::string::npos)
        return "no spirit:vendorExtensions in:\n" + written;
    std::string block = written.substr(start, end - start);
    block = std::regex_replace(block, std::regex(" xmlns:[a-z]+=\"[^\"]*\""), "");
    block = std::regex_replace(block, std::regex(">\\s+<"), "><");
    return std::regex_replace(block, std::regex(">\\s+$"), ">");
}

struct slot_case {
    const char* slot;
    std::string standalone;  // the owner, or its nearest global ancestor, as a document
    reader read_standalone;  // through the class of that document element
    std::string in_parent;   // the owner inside a larger document
    reader read_parent;      // through the class of that document element
};

// What an element holds: `element` without its start and end tags.
std::string content_of(const std::string& element)
{
    size_t start = element.find('>') + 1;
    return element.substr(start, element.rfind("</") - start);
}

std::string with_slot(const std::string& text, const std::string& slot)
{
    return std::regex_replace(text, std::regex("SLOT"), extensions(slot));
}

std::vector<slot_case> cases()
{
    const std::string port = "<spirit:port><spirit:name>p</spirit:name><spirit:wire><spirit:direction>in</spirit:direction>"
                             "</spirit:wire>SLOT</spirit:port>";
    const std::string busInterface =
        "<spirit:busInterface><spirit:name>b</spirit:name><spirit:busType spirit:vendor=\"example.com\" "
        "spirit:library=\"lib\" spirit:name=\"bus\" spirit:version=\"1.0\"/><spirit:slave/>SLOT</spirit:busInterface>";
    const std::string registerOwner =
        "<spirit:register><spirit:name>r</spirit:name><spirit:addressOffset>0</spirit:addressOffset>"
        "<spirit:size>32</spirit:size>SLOT</spirit:register>";
    const auto block = [](const std::string& inside, const std::string& own) {
        return "<spirit:name>blk</spirit:name><spirit:baseAddress>0</spirit:baseAddress><spirit:range>16</spirit:range>"
               "<spirit:width>32</spirit:width>" + inside + own;
    };
    const auto component = [](const std::string& content) { return document("spirit:component", kVlnv + content); };
    const std::string file = "<spirit:file><spirit:name>a.v</spirit:name><spirit:fileType>verilogSource</spirit:fileType>SLOT</spirit:file>";
    const std::string fileSet = "<spirit:fileSet><spirit:name>fs</spirit:name>SLOT</spirit:fileSet>";
    const std::string parameter = "<spirit:parameter><spirit:name>w</spirit:name><spirit:value>8</spirit:value>SLOT</spirit:parameter>";
    const std::string instance =
        "<spirit:componentInstance><spirit:instanceName>u0</spirit:instanceName><spirit:componentRef "
        "spirit:vendor=\"example.com\" spirit:library=\"lib\" spirit:name=\"c\" spirit:version=\"1.0\"/>SLOT"
        "</spirit:componentInstance>";
    const std::string abstractionPorts =
        "<spirit:busType spirit:vendor=\"example.com\" spirit:library=\"lib\" spirit:name=\"bus\" spirit:version=\"1.0\"/>"
        "<spirit:ports><spirit:port><spirit:logicalName>CLK</spirit:logicalName><spirit:wire/>PORTSLOT</spirit:port></spirit:ports>";
    const std::string space = "<spirit:addressSpace><spirit:name>as</spirit:name><spirit:range>4096</spirit:range>"
                              "<spirit:width>32</spirit:width>SLOT</spirit:addressSpace>";
    const std::string memoryMap = "<spirit:memoryMap><spirit:name>mm</spirit:name><spirit:addressBlock>" +
                                  block("", "") + "</spirit:addressBlock>SLOT</spirit:memoryMap>";

    std::vector<slot_case> all = {
        {"busDefinitionInfo", document("spirit:busDefinition", kVlnv + "<spirit:directConnection>true</spirit:directConnection>"
                                       "<spirit:isAddressable>false</spirit:isAddressable>SLOT"),
         write_as<HIPGSBusDefinition>, "", nullptr},
        {"abstractionDefinitionInfo",
         document("spirit:abstractionDefinition", kVlnv + std::regex_replace(abstractionPorts, std::regex("PORTSLOT"), "") + "SLOT"),
         write_as<HIPGSAbstractionDefinition>, "", nullptr},
        {"abstractionDefinitionPortInfo",
         document("spirit:abstractionDefinition", kVlnv + std::regex_replace(abstractionPorts, std::regex("PORTSLOT"), "SLOT")),
         write_as<HIPGSAbstractionDefinition>, "", nullptr},
        {"busInterfaceInfo", document("spirit:busInterface", content_of(busInterface)),
         write_as<HIPGSBusInterface>, component("<spirit:busInterfaces>" + busInterface + "</spirit:busInterfaces>"),
         write_as<HIPGSComponent>},
        {"portInfo", document("spirit:port", content_of(port)), write_as<HIPGSPort>,
         component("<spirit:model><spirit:ports>" + port + "</spirit:ports></spirit:model>"), write_as<HIPGSComponent>},
        {"addressSpaceInfo", document("spirit:addressSpaces", space), write_as<HIPGSAddressSpaces>,
         component("<spirit:addressSpaces>" + space + "</spirit:addressSpaces>"), write_as<HIPGSComponent>},
        {"memoryMapInfo", document("spirit:memoryMaps", memoryMap), write_as<HIPGSMemoryMaps>,
         component("<spirit:memoryMaps>" + memoryMap + "</spirit:memoryMaps>"), write_as<HIPGSComponent>},
        {"addressBlockInfo", document("spirit:addressBlock", block("", "SLOT")), write_as<HIPGSAddressBlock>,
         component("<spirit:memoryMaps><spirit:memoryMap><spirit:name>mm</spirit:name><spirit:addressBlock>" +
                   block("", "SLOT") + "</spirit:addressBlock></spirit:memoryMap></spirit:memoryMaps>"),
         write_as<HIPGSComponent>},
        {"registerInfo", document("spirit:addressBlock", block(registerOwner, "")), write_as<HIPGSAddressBlock>,
         component("<spirit:memoryMaps><spirit:memoryMap><spirit:name>mm</spirit:name><spirit:addressBlock>" +
                   block(registerOwner, "") + "</spirit:addressBlock></spirit:memoryMap></spirit:memoryMaps>"),
         write_as<HIPGSComponent>},
        {"fileInfo", document("spirit:file", content_of(file)), write_as<HIPGSFile>,
         document("spirit:fileSet", "<spirit:name>fs</spirit:name>" + file), write_as<HIPGSFileSet>},
        {"parameterInfo", document("spirit:parameter", content_of(parameter)),
         write_as<HIPGSParameter>, document("spirit:parameters", parameter), write_as<HIPGSParameters>},
        {"componentInstanceExtensions", document("spirit:componentInstance", content_of(instance)),
         write_as<HIPGSComponentInstance>, document("spirit:design", kVlnv + "<spirit:componentInstances>" + instance +
                                                                      "</spirit:componentInstances>"),
         write_as<HIPGSDesign>},
        {"subCoreRef", document("spirit:fileSet", content_of(fileSet)), write_as<HIPGSFileSet>,
         document("spirit:fileSets", fileSet), write_as<HIPGSFileSets>},
    };
    for (slot_case& c : all) {
        c.standalone = with_slot(c.standalone, c.slot);
        c.in_parent = with_slot(c.in_parent, c.slot);
    }
    return all;
}

void PrintTo(const slot_case& c, std::ostream* out)
{
    *out << c.slot;
}

class TypedSlotWhicheverClassReads : public ::testing::TestWithParam<slot_case> {};

// The vendor schema imports the standard one and also knows the vendor types the slots name.
std::string vendor_schema_errors(const std::string& xml)
{
    // ctest runs the cases as processes side by side: each writes a file of its own.
    const std::string path = ::testing::TempDir() + "/slot_case_" + std::to_string(getpid()) + ".xml";
    std::ofstream(path) << xml;
    const std::string log = path + ".log";
    const std::string command = "xmllint --noout --schema '" + std::string(IPXACT_SOURCE_DIR) +
                                "/schema/vorlix.xsd' '" + path + "' >'" + log + "' 2>&1";
    const std::string errors = std::system(command.c_str()) == 0 ? std::string() : corpus::read_file(log);
    std::remove(path.c_str());
    std::remove(log.c_str());
    return errors;
}

TEST_P(TypedSlotWhicheverClassReads, FillsTheSlotAndWritesTheSameText)
{
    const slot_case& c = GetParam();
    if (!corpus::have_xmllint() || std::ifstream(corpus::official_schema()).fail())
        GTEST_SKIP() << "the documents are checked against the schemas first, which needs xmllint and "
                     << corpus::official_schema();
    ASSERT_EQ(vendor_schema_errors(c.standalone), "") << c.standalone;
    const std::string slotFirst = "<spirit:vendorExtensions><vorlix:" + std::string(c.slot);
    const std::string expected = vendor_block(c.read_standalone(c.standalone));
    EXPECT_EQ(expected.rfind(slotFirst, 0), 0u) << "read through the document element's class:\n" << expected;
    EXPECT_EQ(vendor_block(write_as<HIPGSTop>(c.standalone)), expected) << "read through HIPGSTop";
    if (c.read_parent) {
        ASSERT_EQ(vendor_schema_errors(c.in_parent), "") << c.in_parent;
        EXPECT_EQ(vendor_block(c.read_parent(c.in_parent)), expected) << "read inside its parent";
        EXPECT_EQ(vendor_block(write_as<HIPGSTop>(c.in_parent)), expected) << "parent read through HIPGSTop";
    }
}

INSTANTIATE_TEST_SUITE_P(EverySlotElement, TypedSlotWhicheverClassReads, ::testing::ValuesIn(cases()),
                         [](const ::testing::TestParamInfo<slot_case>& test) { return std::string(test.param.slot); });

}  // namespace
