// The tree the catalog's rules query: laid out from a document's line index and the values reading
// noted, it must mirror the document the line index saw, and its path expressions must select what
// XPath would, in document order.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include <ipxact/catalog/catalog.h>

#include <ipxact/catalog/rules_tree.h>

using namespace ipxact::catalog;

namespace {

// The standard's namespace under a prefix of its own: matching is by namespace, never by prefix.
const char kComponent[] = R"xml(<?xml version="1.0" encoding="UTF-8"?>
<ipx:component xmlns:ipx="http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009"
    xmlns:vorlix="http://www.vorlix.com/XMLSchema/ipxact/1.0">
  <ipx:vendor>acme.example.com</ipx:vendor>
  <ipx:library>ip</ipx:library>
  <ipx:name>timer</ipx:name>
  <ipx:version>1.0</ipx:version>
  <ipx:memoryMaps>
    <ipx:memoryMap>
      <ipx:name>regs</ipx:name>
      <ipx:addressBlock>
        <ipx:name>block</ipx:name>
        <ipx:baseAddress>0x0</ipx:baseAddress>
        <ipx:range>0x100</ipx:range>
        <ipx:width>32</ipx:width>
        <ipx:register>
          <ipx:name>CTRL</ipx:name>
          <ipx:addressOffset>0x0</ipx:addressOffset>
          <ipx:size ipx:resolve="user" ipx:id="ctrl_size">32</ipx:size>
          <ipx:reset><ipx:value>0x1</ipx:value></ipx:reset>
          <ipx:field>
            <ipx:name>EN</ipx:name>
            <ipx:bitOffset>0</ipx:bitOffset>
            <ipx:bitWidth ipx:id="en_width" ipx:dependency="id('ctrl_size')">1</ipx:bitWidth>
          </ipx:field>
          <ipx:field>
            <ipx:name>MODE</ipx:name>
            <ipx:bitOffset>1</ipx:bitOffset>
            <ipx:bitWidth>2</ipx:bitWidth>
          </ipx:field>
        </ipx:register>
        <ipx:register>
          <ipx:name>STATUS</ipx:name>
          <ipx:addressOffset>0x4</ipx:addressOffset>
          <ipx:size xmlns:other="urn:example:other" other:resolve="user" id="kept">32</ipx:size>
          <ipx:field>
            <ipx:name>BUSY</ipx:name>
            <ipx:bitOffset>0</ipx:bitOffset>
            <ipx:bitWidth>1</ipx:bitWidth>
          </ipx:field>
        </ipx:register>
      </ipx:addressBlock>
    </ipx:memoryMap>
  </ipx:memoryMaps>
  <ipx:vendorExtensions>
    <vorlix:note xmlns:spirit="http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009">
      <spirit:name>inside a vendor block</spirit:name>
    </vorlix:note>
    <other:name xmlns:other="urn:example:other"/>
    <vorlix:note/>
  </ipx:vendorExtensions>
</ipx:component>
)xml";

// Like a rule, the tests name the texts they read beyond those the registered rules read.
const bool kResetValuesRead = (RulesTree::reads_text("spirit:reset/spirit:value"), true);

class RulesTreeTest : public ::testing::Test {
protected:
    RulesTreeTest() : document(catalog.add_text("timer.xml", kComponent)), tree(document) {}

    // What `describe` says of each node selected.
    std::vector<std::string> selected(const char* expression, std::string (*describe)(RulesTree::Node),
                                      RulesTree::Node context = nullptr) const
    {
        std::vector<std::string> found;
        for (RulesTree::Node node : tree.select(expression, context))
            found.push_back(describe(node));
        return found;
    }
    std::vector<std::string> paths(const char* expression, RulesTree::Node context = nullptr) const
    {
        return selected(expression, RulesTree::path, context);
    }
    std::vector<std::string> texts(const char* expression) const { return selected(expression, RulesTree::text); }

    Catalog catalog;
    const Document& document;
    RulesTree tree;
};

const char kRegs[] = "component/memoryMaps/memoryMap/addressBlock";

}  // namespace

TEST_F(RulesTreeTest, MirrorsTheElementsTheLineIndexSaw)
{
    ASSERT_TRUE(document.read_cleanly());
    ASSERT_TRUE(tree.ok());
    std::vector<RulesTree::Node> elements = tree.select("//*");
    // The vendor block's inner element is kept whole in both.
    EXPECT_EQ(elements.size(), document.lines().size());
    for (RulesTree::Node element : elements) {
        LineIndex::Node indexed = document.lines().find(RulesTree::path(element));
        ASSERT_NE(indexed, LineIndex::npos) << RulesTree::path(element);
        EXPECT_TRUE(RulesTree::is(element, std::string(document.lines().name(indexed)).c_str()))
            << RulesTree::path(element);
    }
}

TEST_F(RulesTreeTest, SelectsInDocumentOrderWhateverTheExpressionsOrder)
{
    const std::string r = kRegs;
    EXPECT_EQ(paths("//spirit:field|//spirit:register"),
              (std::vector<std::string>{r + "/register", r + "/register/field", r + "/register/field[2]",
                                        r + "/register[2]", r + "/register[2]/field"}));
    EXPECT_EQ(texts("//spirit:register/spirit:field/spirit:name"), (std::vector<std::string>{"EN", "MODE", "BUSY"}));
    EXPECT_EQ(texts("/*/spirit:name"), std::vector<std::string>{"timer"});
    EXPECT_EQ(texts("/spirit:component/spirit:memoryMaps/spirit:memoryMap/spirit:addressBlock/*/spirit:name"),
              (std::vector<std::string>{"CTRL", "STATUS"}));
}

TEST_F(RulesTreeTest, AlternativesEndingInOneNameMeetInDocumentOrder)
{
    EXPECT_EQ(texts("//spirit:field/spirit:name|//spirit:register/spirit:name"),
              (std::vector<std::string>{"CTRL", "EN", "MODE", "STATUS", "BUSY"}));
    // Only the standard's attribute: the other size's "id" has no namespace.
    EXPECT_EQ(texts("//spirit:register/spirit:size/@spirit:id"), std::vector<std::string>{"ctrl_size"});
    // An absolute alternative looks at the whole document whatever the context of the relative one.
    RulesTree::Node status = tree.select("//spirit:register").back();
    EXPECT_EQ(paths("spirit:field/spirit:name|/spirit:component/spirit:name", status),
              (std::vector<std::string>{"component/name", std::string(kRegs) + "/register[2]/field/name"}));
    EXPECT_TRUE(paths("spirit:name/spirit:field|spirit:reset/spirit:value", status).empty());
    // Children of several names come in document order, each once.
    const std::string r = kRegs;
    EXPECT_EQ(paths("//spirit:register/spirit:name|//spirit:register/spirit:size|//spirit:register/spirit:name"),
              (std::vector<std::string>{r + "/register/name", r + "/register/size", r + "/register[2]/name",
                                        r + "/register[2]/size"}));
    RulesTree::Node ctrl = tree.select("//spirit:register").front();
    // Predicates on the first and on the last step of a path taken upwards.
    EXPECT_EQ(texts("//*[@spirit:dependency]/@spirit:id"), std::vector<std::string>{"en_width"});
    EXPECT_EQ(paths("//spirit:register/spirit:size[@spirit:resolve='user']"),
              std::vector<std::string>{r + "/register/size"});
    EXPECT_EQ(paths("spirit:name|spirit:name", ctrl), std::vector<std::string>{r + "/register/name"});
    EXPECT_EQ(paths("spirit:field|spirit:size|spirit:name", ctrl),
              (std::vector<std::string>{r + "/register/name", r + "/register/size", r + "/register/field",
                                        r + "/register/field[2]"}));
}

TEST_F(RulesTreeTest, RelativePathsStayInsideTheirContext)
{
    RulesTree::Node status = tree.select("//spirit:register").back();
    EXPECT_EQ(paths(".//spirit:field", status), std::vector<std::string>{std::string(kRegs) + "/register[2]/field"});
    EXPECT_EQ(paths("spirit:field/spirit:name", status),
              std::vector<std::string>{std::string(kRegs) + "/register[2]/field/name"});
    RulesTree::Node ctrl = tree.select("//spirit:register").front();
    EXPECT_EQ(RulesTree::text(tree.first("spirit:reset/spirit:value", ctrl)), "0x1");
    EXPECT_EQ(tree.first("spirit:reset/spirit:value", status), nullptr);
    std::string name;
    EXPECT_TRUE(tree.field(ctrl, "spirit:name", &name));
    EXPECT_EQ(name, "CTRL");
    EXPECT_EQ(RulesTree::parent(RulesTree::parent(tree.first("spirit:reset/spirit:value", ctrl))), ctrl);
}

TEST_F(RulesTreeTest, AttributesStandForTheirValuesAtTheirElementsPaths)
{
    EXPECT_EQ(texts("//@spirit:id"), (std::vector<std::string>{"ctrl_size", "en_width"}));
    EXPECT_EQ(paths("//@spirit:id"),
              (std::vector<std::string>{std::string(kRegs) + "/register/size", std::string(kRegs) + "/register/field/bitWidth"}));
    EXPECT_EQ(paths("//*[@spirit:resolve='user' or @spirit:dependency]"),
              (std::vector<std::string>{std::string(kRegs) + "/register/size", std::string(kRegs) + "/register/field/bitWidth"}));
    EXPECT_TRUE(paths("//*[@spirit:resolve='generated']").empty());
    // elements carrying both attributes come once; the context's own attributes do not select it
    RulesTree::Node ctrl = tree.select("//spirit:register").front();
    EXPECT_EQ(paths(".//*[@spirit:id or @spirit:resolve]", ctrl),
              (std::vector<std::string>{std::string(kRegs) + "/register/size", std::string(kRegs) + "/register/field/bitWidth"}));
    EXPECT_TRUE(paths(".//*[@spirit:id]", tree.select("//*[@spirit:id]").front()).empty());
    RulesTree::Node size = tree.select("//*[@spirit:resolve]").front();
    EXPECT_EQ(RulesTree::attribute(size, "id"), "ctrl_size");
    EXPECT_TRUE(RulesTree::has_attribute(size, "resolve"));
    EXPECT_FALSE(RulesTree::has_attribute(size, "dependency"));
    EXPECT_EQ(RulesTree::parent(tree.select("@spirit:id", size).front()), RulesTree::parent(size));
}

TEST_F(RulesTreeTest, AVendorBlockIsOneElementOfItsOwnNamespace)
{
    // The spirit:name inside the vendor block is not among the standard's names.
    EXPECT_EQ(texts("//spirit:name"), (std::vector<std::string>{"timer", "regs", "block", "CTRL", "EN", "MODE", "STATUS", "BUSY"}));
    // Kept elements are numbered among the siblings of their own local name, whatever namespace.
    EXPECT_EQ(paths("/*/spirit:vendorExtensions/*"),
              (std::vector<std::string>{"component/vendorExtensions/note", "component/vendorExtensions/name",
                                        "component/vendorExtensions/note[2]"}));
    EXPECT_TRUE(paths("//spirit:note").empty());
    // Attributes kept as read are in the tree but are none of the standard's.
    RulesTree::Node status_size = tree.select("//spirit:size").back();
    EXPECT_EQ(RulesTree::path(status_size), std::string(kRegs) + "/register[2]/size");
    EXPECT_FALSE(RulesTree::has_attribute(status_size, "resolve"));
    EXPECT_FALSE(RulesTree::has_attribute(status_size, "id"));
    EXPECT_EQ(paths("//*[@spirit:resolve='user']"), std::vector<std::string>{std::string(kRegs) + "/register/size"});
}

TEST_F(RulesTreeTest, ExpressionsOutsideTheSupportedFormSelectNothing)
{
    // Names without the standard's prefix are outside it too: names kept as read are whatever a
    // document says, and no expression asks for them.
    for (const char* expression : {"//other:name", "count(//spirit:field)", "//spirit:field[1]", "", "a//",
                                   "//*[@spirit:x=unquoted]", "//name", "//*[@resolve]", "//@id"})
        EXPECT_TRUE(tree.select(expression).empty()) << expression;
}

TEST_F(RulesTreeTest, TheTextOfAnElementNoRuleReadsIsAnError)
{
    // Reading kept no text for it: an empty answer would pass for an empty element.
    ASSERT_FALSE(RulesTree::text_is_read("bitOffset"));
    RulesTree::Node offset = tree.first("spirit:field/spirit:bitOffset", tree.select("//spirit:register").front());
    ASSERT_NE(offset, nullptr);
    EXPECT_THROW(RulesTree::text(offset), std::logic_error);
    // Attributes are all kept, and so are the texts rules name.
    EXPECT_EQ(texts("//spirit:field/spirit:bitWidth/@spirit:dependency"), std::vector<std::string>{"id('ctrl_size')"});
    EXPECT_TRUE(RulesTree::text_is_read("name"));
}
