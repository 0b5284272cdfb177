// The catalog as a library: loading files and directories, the line index, resolution and its
// queries, the rule mechanism and the reports.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>
#include <thread>

#include <ipxact/catalog/catalog.h>
#include <ipxact/catalog/report.h>
#include <ipxact/spirit/HIPGSBusInterfaceType.h>
#include <ipxact/spirit/HIPGSBusInterfaces.h>
#include <ipxact/spirit/HIPGSComponentType.h>
#include <ipxact/spirit/HIPGSTop.h>
#include <ipxact/spirit/HIPGSVersionedIdentifier.h>

#include "catalog_test_support.h"

using namespace ipxact::catalog;
using namespace catalog_test;

namespace {

const std::string kDocuments = CATALOG_DOCUMENTS;

std::vector<Finding> with_rule(const std::vector<Finding>& findings, const std::string& rule)
{
    std::vector<Finding> kept;
    for (const Finding& f : findings)
        if (f.rule == rule)
            kept.push_back(f);
    return kept;
}

Vlnv acme(const std::string& library, const std::string& name)
{
    return Vlnv{"acme.example.com", library, name, "1.0"};
}

std::vector<std::string> files_of(const std::vector<const Document*>& documents)
{
    std::vector<std::string> names;
    for (const Document* d : documents)
        names.push_back(fs::path(d->file()).filename().string());
    return names;
}

}  // namespace

// ---- loading ----

TEST(CatalogLoading, ReadsEveryDocumentOfADirectoryAndIndexesItByKindAndIdentifier)
{
    Catalog catalog;
    EXPECT_EQ(catalog.load({kDocuments}), 5u);
    EXPECT_TRUE(catalog.load_findings().empty());
    EXPECT_EQ(catalog.of_kind(DocumentKind::component).size(), 1u);
    EXPECT_EQ(catalog.of_kind(DocumentKind::bus_definition).size(), 1u);
    EXPECT_EQ(catalog.of_kind(DocumentKind::abstraction_definition).size(), 1u);
    EXPECT_EQ(catalog.of_kind(DocumentKind::design).size(), 1u);
    EXPECT_EQ(catalog.of_kind(DocumentKind::design_configuration).size(), 1u);
    const Document* timer = catalog.find(acme("ip", "timer"));
    ASSERT_NE(timer, nullptr);
    EXPECT_EQ(fs::path(timer->file()).filename(), "comp.xml");
    EXPECT_TRUE(timer->read_cleanly());
    EXPECT_EQ(timer->root_element(), "spirit:component");
    EXPECT_NE(timer->top().getChosenObject(), nullptr);
    EXPECT_EQ(catalog.find(acme("ip", "nothing")), nullptr);
    EXPECT_EQ(catalog.find_file(timer->file()), timer);
}

TEST(CatalogLoading, SearchesNestedDirectoriesForTheKnownExtensionsAndPassesOverTheRest)
{
    scratch_directory dir;
    dir.write("a/b/c/deep.xml", bus_definition("deep"));
    dir.write("a/upper.IPXACT", bus_definition("upper"));
    dir.write("a/tool.spirit", bus_definition("tool"));
    dir.write("a/notes.txt", bus_definition("text"));
    dir.write(".hidden/hidden.xml", bus_definition("hidden"));
    dir.write("a/html.xml", "<html><body/></html>");
    Catalog catalog;
    catalog.load({dir.path().string()});
    EXPECT_NE(catalog.find(acme("buses", "deep")), nullptr);
    EXPECT_NE(catalog.find(acme("buses", "upper")), nullptr);
    EXPECT_NE(catalog.find(acme("buses", "tool")), nullptr);
    EXPECT_EQ(catalog.find(acme("buses", "text")), nullptr);
    EXPECT_EQ(catalog.find(acme("buses", "hidden")), nullptr);
    EXPECT_EQ(catalog.documents().size(), 3u);
    ASSERT_EQ(catalog.load_findings().size(), 1u);
    EXPECT_EQ(catalog.load_findings()[0].rule, "load.not-ipxact");
    EXPECT_EQ(catalog.load_findings()[0].severity, Severity::note);
}

TEST(CatalogLoading, BrokenFilesBecomeFindingsWithTheirLineAndLoadingGoesOn)
{
    scratch_directory dir;
    dir.write("good.xml", bus_definition("good"));
    std::string broken = dir.write("broken.xml", std::string("<?xml version=\"1.0\"?>\n<spirit:busDefinition ") +
                                                     spirit_ns() + ">\n" +
                                                     vlnv_elements("acme.example.com", "buses", "broken", "1.0") +
                                                     "  <spirit:directConnection>true</spirit:directConnectio>\n");
    std::string invalid = dir.write("invalid.xml", std::string("<?xml version=\"1.0\"?>\n<spirit:busDefinition ") +
                                                       spirit_ns() + ">\n" +
                                                       vlnv_elements("acme.example.com", "buses", "invalid", "1.0") +
                                                       "  <spirit:directConnection>maybe</spirit:directConnection>\n"
                                                       "  <spirit:isAddressable>true</spirit:isAddressable>\n"
                                                       "</spirit:busDefinition>\n");
    Catalog catalog;
    catalog.load({dir.path().string(), (dir / "missing.xml").string()});
    EXPECT_NE(catalog.find(acme("buses", "good")), nullptr);
    std::vector<Finding> faults = with_rule(catalog.load_findings(), "read.fault");
    auto at = [&](const std::string& file) {
        return std::find_if(faults.begin(), faults.end(), [&](const Finding& f) { return f.file == file; });
    };
    ASSERT_NE(at(broken), faults.end());
    EXPECT_EQ(at(broken)->line, 7);
    EXPECT_EQ(at(broken)->severity, Severity::error);
    ASSERT_NE(at(invalid), faults.end());
    EXPECT_EQ(at(invalid)->line, 7);
    EXPECT_EQ(at(invalid)->path, "busDefinition/directConnection");
    EXPECT_NE(at(invalid)->message.find("code 11"), std::string::npos) << at(invalid)->message;
    EXPECT_EQ(with_rule(catalog.load_findings(), "load.missing").size(), 1u);
    // An invalid document is kept (its identifier was read) but no rule runs on it.
    const Document* kept = catalog.find(acme("buses", "invalid"));
    ASSERT_NE(kept, nullptr);
    EXPECT_FALSE(kept->read_cleanly());
}

// The reader fails at a fault it has parsed ahead before handing out the element it stands on, so a
// fault close to the top hides even the document element; what the document is and its identifier
// must not depend on how far from the top the fault lies.
TEST(CatalogLoading, AFaultCloseToTheTopKeepsTheDocumentsKindAndIdentifier)
{
    const std::string head = std::string("<?xml version=\"1.0\"?>\n<spirit:busDefinition ") + spirit_ns() + ">\n";
    const std::string tail = "  <spirit:directConnection>true</spirit:directConnectio>\n";
    const std::string padding = "  <!--" + std::string(4000, '.') + "-->\n";
    scratch_directory dir;
    dir.write("near.xml", head + vlnv_elements("acme.example.com", "buses", "near", "1.0") + tail);
    dir.write("far.xml", head + vlnv_elements("acme.example.com", "buses", "far", "1.0") + padding + tail);
    dir.write("cut.xml", head + "  <spirit:vendor>acme.example.com</spirit:vendor>\n  <spirit:library>bu");
    // The document element is handed out, the identifier after it is not.
    const std::string hint = " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xsi:schemaLocation=\"" +
                             std::string(300, 'x') + "\"";
    dir.write("late.xml", std::string("<?xml version=\"1.0\"?>\n<spirit:busDefinition ") + spirit_ns() + hint +
                              ">\n  <!--" + std::string(100, '.') + "-->\n" +
                              vlnv_elements("acme.example.com", "buses", "late", "1.0") + tail);
    dir.write("undeclared.xml", "<?xml version=\"1.0\"?>\n<spirit:busDefinition>\n" +
                                    vlnv_elements("acme.example.com", "buses", "undeclared", "1.0") +
                                    "</spirit:busDefinition>\n");
    dir.write("other.xml", "<?xml version=\"1.0\"?>\n<notes>\n  <note>unclosed\n</notes>\n");
    dir.write("nothing.xml", "<?xml version=\"1.0\"?>\n<");
    Catalog catalog;
    catalog.load({dir.path().string()});
    const Document& fromText =
        catalog.add_text("text.xml", head + vlnv_elements("acme.example.com", "buses", "text", "1.0") + tail);

    for (const char* name : {"near", "far", "text", "late"}) {
        const Document* document = catalog.find(acme("buses", name));
        ASSERT_NE(document, nullptr) << name;
        EXPECT_EQ(document->kind(), DocumentKind::bus_definition) << name;
        EXPECT_EQ(document->root_element(), "spirit:busDefinition") << name;
        EXPECT_FALSE(document->read_cleanly()) << name;
    }
    EXPECT_EQ(&fromText, catalog.find(acme("buses", "text")));
    const Document* cut = catalog.find_file((dir / "cut.xml").string());
    ASSERT_NE(cut, nullptr);
    EXPECT_EQ(cut->kind(), DocumentKind::bus_definition);
    EXPECT_FALSE(cut->has_vlnv());
    const Document* nothing = catalog.find_file((dir / "nothing.xml").string());
    ASSERT_NE(nothing, nullptr);
    EXPECT_EQ(nothing->kind(), DocumentKind::other);
    EXPECT_EQ(nothing->root_element(), "");
    // A prefix bound to no namespace says nothing sure of what the document is: kept, with its fault.
    const Document* undeclared = catalog.find_file((dir / "undeclared.xml").string());
    ASSERT_NE(undeclared, nullptr);
    EXPECT_EQ(undeclared->kind(), DocumentKind::other);
    EXPECT_FALSE(undeclared->has_vlnv());

    EXPECT_EQ(catalog.find_file((dir / "other.xml").string()), nullptr);
    std::vector<Finding> passed = with_rule(catalog.load_findings(), "load.not-ipxact");
    ASSERT_EQ(passed.size(), 1u);
    EXPECT_EQ(passed[0].line, 2);
    EXPECT_EQ(passed[0].path, "notes");
    std::set<std::string> faulty;
    for (const Finding& fault : with_rule(catalog.load_findings(), "read.fault"))
        faulty.insert(fs::path(fault.file).filename().string());
    EXPECT_EQ(faulty, (std::set<std::string>{"near.xml", "far.xml", "cut.xml", "late.xml", "undeclared.xml",
                                             "nothing.xml", "text.xml"}));
}

TEST(CatalogLoading, ObjectsEditedInMemoryAreCheckedAsTheirWrittenText)
{
    Catalog catalog;
    catalog.add_text("apb.xml", bus_definition("apb"));
    std::string text = component("timer", "apb");
    HIPGSpirit::HIPGSTop top;
    ASSERT_EQ(top.unmarshal(text.data(), text.size()), lmx60::ELMX_OK);
    // Edited: a second bus interface of the same name, under a new identifier.
    HIPGSpirit::HIPGSComponentType& timer = top.getComponent();
    timer.getVersionedIdentifier().setName("timer2");
    HIPGSpirit::HIPGSBusInterfaces& interfaces = timer.getBusInterfaces();
    interfaces.appendBusInterface(new HIPGSpirit::HIPGSBusInterfaceType(interfaces.getBusInterface(0)));

    const Document& added = catalog.add_objects("timer2.xml", top);
    EXPECT_TRUE(added.read_cleanly());
    EXPECT_TRUE(added.top() == top);
    EXPECT_EQ(catalog.find(acme("ip", "timer2")), &added);
    ASSERT_EQ(added.references().size(), 4u);
    EXPECT_EQ(catalog.resolve(added.references()[0]), catalog.find(Vlnv{"acme.example.com", "buses", "apb", "1.0"}));
    std::vector<Finding> twice = with_rule(catalog.check(added), "names.unique");
    ASSERT_EQ(twice.size(), 1u);
    EXPECT_EQ(twice[0].file, "timer2.xml");
    EXPECT_EQ(twice[0].path, "component/busInterfaces/busInterface[2]");
    EXPECT_GT(twice[0].line, 1);

    HIPGSpirit::HIPGSTop nothing;
    EXPECT_THROW(catalog.add_objects("nothing.xml", nothing), std::invalid_argument);
    EXPECT_EQ(catalog.documents().size(), 2u);
}

TEST(CatalogLoading, OneThreadAndManyThreadsLoadTheSameCatalog)
{
    scratch_directory dir;
    for (int i = 0; i < 40; ++i)
        dir.write("c" + std::to_string(i) + ".xml", component("c" + std::to_string(i), "bus" + std::to_string(i % 3)));
    dir.write("bad.xml", "<spirit:component " + std::string(spirit_ns()) + "><spirit:vendor>");
    LoadOptions one;
    one.threads = 1;
    LoadOptions four;
    four.threads = 4;
    size_t reports = 0;
    four.progress = [&](size_t done, size_t total) {
        EXPECT_LE(done, total);
        ++reports;
    };
    Catalog a, b;
    a.load({dir.path().string()}, one);
    b.load({dir.path().string()}, four);
    ASSERT_EQ(files_of(a.documents()), files_of(b.documents()));
    for (size_t i = 0; i < a.documents().size(); ++i)
        EXPECT_TRUE(a.documents()[i]->top() == b.documents()[i]->top()) << a.documents()[i]->file();
    EXPECT_EQ(a.load_findings().size(), b.load_findings().size());
    EXPECT_GT(reports, 0u);
}

TEST(CatalogLoading, AFileNamedAndFoundInADirectoryIsReadOnce)
{
    Catalog catalog;
    catalog.load({kDocuments + "/bus.xml", kDocuments});
    EXPECT_EQ(catalog.documents().size(), 5u);
    EXPECT_TRUE(catalog.duplicates().empty());
    catalog.load({kDocuments});
    EXPECT_EQ(catalog.documents().size(), 5u);
}

TEST(CatalogLoading, AFileReachedThroughALinkOrAnotherSpellingIsReadOnce)
{
    scratch_directory dir;
    std::ifstream bus(kDocuments + "/bus.xml");
    std::string real = dir.write("real/bus.xml", std::string(std::istreambuf_iterator<char>(bus), {}));
    fs::create_symlink(real, dir / "real/link.xml");
    fs::create_directories(dir / "other");
    fs::create_symlink(dir / "real", dir / "other/linked");  // a link to a directory is not followed
    const std::string root = dir.path().string();
    Catalog catalog;
    catalog.load({root + "/./", root + "/real/../real/bus.xml", root + "/other/linked/bus.xml"});
    EXPECT_EQ(files_of(catalog.documents()), std::vector<std::string>{"bus.xml"});
    EXPECT_TRUE(catalog.duplicates().empty());
}

TEST(CatalogLoading, DuplicateIdentifiersNameEveryFileDefiningThem)
{
    scratch_directory dir;
    std::string first = dir.write("one/bus.xml", bus_definition("shared"));
    std::string second = dir.write("two/bus.xml", bus_definition("shared"));
    std::string third = dir.write("two/bus_copy.xml", bus_definition("shared"));
    Catalog catalog;
    catalog.load({dir.path().string()});
    ASSERT_EQ(catalog.duplicates().size(), 1u);
    EXPECT_EQ(catalog.duplicates()[0].size(), 3u);
    EXPECT_EQ(catalog.find_all(acme("buses", "shared")).size(), 3u);
    std::vector<Finding> found = with_rule(catalog.check(), "catalog.duplicate-vlnv");
    ASSERT_EQ(found.size(), 3u);
    for (const Finding& f : found) {
        EXPECT_EQ(f.severity, Severity::error);
        EXPECT_EQ(f.line, 2);
        for (const std::string& file : {first, second, third})
            EXPECT_NE(f.message.find(file), std::string::npos) << f.message;
    }
}

// ---- line index ----

TEST(CatalogLineIndex, PathsAndLinesOfElementsWithSiblingPositions)
{
    Catalog catalog;
    const Document& d = catalog.add_text("mem.xml", std::string("<?xml version=\"1.0\"?>\n<spirit:component ") +
                                                        spirit_ns() + ">\n" +
                                                        vlnv_elements("acme.example.com", "ip", "mem", "1.0") +
                                                        "  <spirit:memoryMaps>\n"
                                                        "    <spirit:memoryMap><spirit:name>a</spirit:name></spirit:memoryMap>\n"
                                                        "    <spirit:memoryMap>\n"
                                                        "      <spirit:name>b</spirit:name>\n"
                                                        "    </spirit:memoryMap>\n"
                                                        "  </spirit:memoryMaps>\n</spirit:component>\n");
    ASSERT_TRUE(d.read_cleanly());
    const LineIndex& lines = d.lines();
    EXPECT_EQ(lines.line(lines.root()), 2);
    LineIndex::Node second = lines.find("component/memoryMaps/memoryMap[2]/name");
    ASSERT_NE(second, LineIndex::npos);
    EXPECT_EQ(lines.line(second), 10);
    EXPECT_EQ(lines.path(second), "component/memoryMaps/memoryMap[2]/name");
    EXPECT_EQ(lines.find("component/memoryMaps/memoryMap/name"), lines.find("component/memoryMaps/memoryMap[1]/name"));
    EXPECT_EQ(lines.line(lines.find("component/memoryMaps/memoryMap/name")), 8);
    EXPECT_EQ(lines.find("component/memoryMaps/memoryMap[3]"), LineIndex::npos);
    EXPECT_EQ(lines.line(lines.find_nearest("component/memoryMaps/memoryMap[3]/name")), 7);
    EXPECT_EQ(lines.find("design"), LineIndex::npos);
    EXPECT_EQ(lines.find("component/memoryMaps/memoryMap[0]"), LineIndex::npos);
    LineIndex::Node maps = lines.child(lines.root(), "memoryMaps");
    EXPECT_EQ(lines.children(maps).size(), 2u);
    EXPECT_EQ(lines.child(maps, "memoryMap", 1), lines.find("component/memoryMaps/memoryMap[2]"));
    EXPECT_EQ(lines.parent(second), lines.find("component/memoryMaps/memoryMap[2]"));
    EXPECT_LE(lines.memory_bytes(), lines.size() * 16 + 1024);
}

// Reading makes room for as many elements as a document of its size could hold; a document of few
// elements and much text keeps only what it used.
TEST(CatalogLineIndex, AFewElementsInMuchTextKeepOnlyTheirOwnRoom)
{
    Catalog catalog;
    const Document& d = catalog.add_text("long.xml", std::string("<?xml version=\"1.0\"?>\n<spirit:component ") +
                                                         spirit_ns() + ">\n" +
                                                         vlnv_elements("acme.example.com", "ip", "long", "1.0") +
                                                         "  <spirit:description>" + std::string(200000, 'x') +
                                                         "</spirit:description>\n</spirit:component>\n");
    ASSERT_TRUE(d.read_cleanly());
    EXPECT_EQ(d.lines().size(), 6u);
    EXPECT_LE(d.lines().memory_bytes(), d.lines().size() * 16 + 1024);
}

// A vendor block of many distinct element names, each written twice: every name is kept once and
// known again by its text, however many the table had to grow for.
TEST(CatalogLineIndex, ManyDistinctNamesAreEachKeptOnceAndFoundAgain)
{
    std::string blocks;
    for (int round = 0; round < 2; ++round)
        for (int i = 0; i < 300; ++i)
            blocks += "<x:e" + std::to_string(i) + "/>";
    Catalog catalog;
    const Document& d = catalog.add_text("names.xml", std::string("<?xml version=\"1.0\"?>\n<spirit:component ") +
                                                          spirit_ns() + " xmlns:x=\"urn:example:x\">\n" +
                                                          vlnv_elements("acme.example.com", "ip", "names", "1.0") +
                                                          "  <spirit:vendorExtensions>" + blocks +
                                                          "</spirit:vendorExtensions>\n</spirit:component>\n");
    ASSERT_TRUE(d.read_cleanly());
    const LineIndex& lines = d.lines();
    LineIndex::Node extensions = lines.child(lines.root(), "vendorExtensions");
    std::vector<LineIndex::Node> kept = lines.children(extensions);
    ASSERT_EQ(kept.size(), 600u);
    // component, four identifier parts, vendorExtensions and the 300 names
    EXPECT_EQ(lines.name_count(), 306u);
    for (size_t i = 0; i < 300; ++i) {
        EXPECT_EQ(lines.name(kept[i]), "e" + std::to_string(i));
        EXPECT_EQ(lines.name_number(kept[i]), lines.name_number(kept[i + 300]));
        EXPECT_EQ(lines.name_text(lines.name_number(kept[i])), lines.name(kept[i]));
    }
    EXPECT_EQ(lines.path(kept[599]), "component/vendorExtensions/e299[2]");
    EXPECT_EQ(lines.name_text(static_cast<uint32_t>(lines.name_count())), "");
}

// A builder fed by hand may go on after finish(): the names it holds are found again by their text
// (under new pointers) however many they are, and an index given npos has no name.
TEST(CatalogLineIndex, ABuilderFedAgainAfterFinishingKnowsItsNames)
{
    std::vector<std::string> first, again;
    for (int i = 0; i < 100; ++i) {
        first.push_back("n" + std::to_string(i));
        again.push_back(first.back());
    }
    LineIndex lines;
    LineIndex::Builder builder(lines);
    builder.element(1, "root", 1);
    for (int i = 0; i < 100; ++i)
        builder.element(2, first[i].c_str(), i + 2);
    builder.finish();
    builder.element(1, "root", 200);
    for (int i = 0; i < 100; ++i)
        builder.element(2, again[i].c_str(), i + 201);
    builder.finish();
    EXPECT_EQ(lines.size(), 202u);
    EXPECT_EQ(lines.name_count(), 101u);
    EXPECT_EQ(lines.name_number(201), lines.name_number(100));  // n99, twice
    EXPECT_EQ(lines.name_number(101), lines.name_number(0));    // root, twice
    EXPECT_EQ(lines.name_text(lines.name_number(LineIndex::npos)), "");
}

// Paths are looked up in document order, among many siblings, by rule after rule and document after
// document: each answer must be the element itself whatever was asked before.
TEST(CatalogLineIndex, ManySiblingsOfOneNameAreFoundInAnyOrderAcrossDocuments)
{
    auto registers = [](int count) {
        std::string text = std::string("<?xml version=\"1.0\"?>\n<spirit:component ") + spirit_ns() + ">\n" +
                           vlnv_elements("acme.example.com", "ip", "regs" + std::to_string(count), "1.0") +
                           "  <spirit:memoryMaps><spirit:memoryMap><spirit:name>m</spirit:name>\n"
                           "  <spirit:addressBlock><spirit:name>b</spirit:name><spirit:baseAddress>0</spirit:baseAddress>"
                           "<spirit:range>4096</spirit:range><spirit:width>32</spirit:width>\n";
        for (int i = 0; i < count; ++i)
            text += "  <spirit:register><spirit:name>r</spirit:name><spirit:addressOffset>0</spirit:addressOffset>"
                    "<spirit:size>8</spirit:size></spirit:register>\n";
        return text + "  </spirit:addressBlock></spirit:memoryMap></spirit:memoryMaps>\n</spirit:component>\n";
    };
    Catalog catalog;
    const LineIndex& many = catalog.add_text("many.xml", registers(300)).lines();
    const LineIndex& few = catalog.add_text("few.xml", registers(3)).lines();
    const std::string block = "component/memoryMaps/memoryMap/addressBlock/register";
    auto line_of = [&](const LineIndex& lines, int position) {
        return lines.line(lines.find(block + "[" + std::to_string(position) + "]"));
    };
    // register n stands on line 8 + n
    for (int position : {2, 3, 150, 151, 300, 5, 299, 1, 300})
        EXPECT_EQ(line_of(many, position), 8 + position) << position;
    for (int position : {2, 3, 4, 200, 199, 300, 1, 2})
        EXPECT_EQ(many.path(many.find(block + "[" + std::to_string(position) + "]")),
                  position == 1 ? block : block + "[" + std::to_string(position) + "]");
    EXPECT_EQ(few.path(few.find(block + "[3]")), block + "[3]");
    EXPECT_EQ(line_of(few, 3), 11);
    EXPECT_EQ(line_of(many, 4), 12);
    EXPECT_EQ(few.find(block + "[4]"), LineIndex::npos);
    EXPECT_EQ(line_of(many, 301), 0);

    // every one of many same-named siblings reported, each at its own line
    std::vector<Finding> found = with_rule(catalog.check(), "names.unique");
    ASSERT_EQ(found.size(), 301u);  // 299 in the large document, 2 in the small one
    std::set<int> lines;
    for (const Finding& finding : found)
        if (finding.file == "many.xml")
            lines.insert(finding.line);
    EXPECT_EQ(lines.size(), 299u);
    EXPECT_EQ(*lines.begin(), 10);
    EXPECT_EQ(*lines.rbegin(), 308);
}

// ---- references ----

TEST(CatalogReferences, EveryStandardReferenceIsFoundWithItsElementLineAndPath)
{
    Catalog catalog;
    catalog.load({kDocuments});
    const Document* timer = catalog.find(acme("ip", "timer"));
    ASSERT_NE(timer, nullptr);
    const std::vector<Reference>& refs = timer->references();
    ASSERT_EQ(refs.size(), 3u);
    EXPECT_EQ(refs[0].element, "spirit:busType");
    EXPECT_EQ(refs[0].target, acme("buses", "apb"));
    EXPECT_EQ(refs[0].line, 10);
    EXPECT_EQ(refs[0].path, "component/busInterfaces/busInterface/busType");
    EXPECT_EQ(refs[1].element, "spirit:abstractionType");
    EXPECT_EQ(refs[2].element, "spirit:hierarchyRef");
    EXPECT_TRUE(refs[2].expected & kind_bit(DocumentKind::design));
    EXPECT_TRUE(refs[2].expected & kind_bit(DocumentKind::design_configuration));
    for (const Reference& r : refs)
        EXPECT_NE(catalog.resolve(r), nullptr) << r.element;
    EXPECT_TRUE(catalog.dangling().empty());
}

TEST(CatalogReferences, DanglingReferencesNameTheMissingIdentifierAtTheirElement)
{
    Catalog catalog;
    catalog.add_text("c.xml", component("uart", "absent"));
    std::vector<ReferenceSite> dangling = catalog.dangling();
    ASSERT_EQ(dangling.size(), 2u);
    EXPECT_EQ(dangling[0].reference->target, acme("buses", "absent"));
    std::vector<Finding> found = with_rule(catalog.check(), "reference.unresolved");
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].file, "c.xml");
    EXPECT_EQ(found[0].line, 10);
    EXPECT_EQ(found[0].path, "component/busInterfaces/busInterface/busType");
    EXPECT_NE(found[0].message.find("acme.example.com:buses:absent:1.0"), std::string::npos) << found[0].message;
    // Loading the bus definition afterwards resolves the first.
    catalog.add_text("b.xml", bus_definition("absent"));
    EXPECT_EQ(catalog.dangling().size(), 1u);
}

TEST(CatalogReferences, AReferenceToADocumentOfTheWrongKindIsAnError)
{
    Catalog catalog;
    // The bus type names a component.
    catalog.add_text("c.xml", component("uart", "timer"));
    catalog.add_text("t.xml", component("timer", "x"));
    std::string text = component("uart2", "x");
    const std::string bus = "library=\"buses\" spirit:name=\"x\"";
    text.replace(text.find(bus), bus.size(), "library=\"ip\" spirit:name=\"timer\"");
    catalog.add_text("c2.xml", text);
    std::vector<Finding> found = with_rule(catalog.check(), "reference.kind");
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].file, "c2.xml");
    EXPECT_EQ(found[0].severity, Severity::error);
    EXPECT_NE(found[0].message.find("not a bus definition"), std::string::npos) << found[0].message;
}

TEST(CatalogReferences, ReverseReferencesListWhoUsesADocument)
{
    Catalog catalog;
    const Document& bus = catalog.add_text("apb.xml", bus_definition("apb"));
    catalog.add_text("a.xml", component("a", "apb"));
    catalog.add_text("b.xml", component("b", "apb"));
    catalog.add_text("c.xml", component("c", "other"));
    std::vector<ReferenceSite> users = catalog.referrers(bus);
    ASSERT_EQ(users.size(), 2u);
    EXPECT_EQ(users[0].from->file(), "a.xml");
    EXPECT_EQ(users[1].from->file(), "b.xml");
    EXPECT_EQ(users[0].reference->element, "spirit:busType");
}

// Documents added one by one are indexed at the first query after them; queries from several
// threads at once, the first of them after additions, all see every document and reference.
TEST(CatalogReferences, DocumentsAddedOneByOneAreIndexedForQueriesFromSeveralThreads)
{
    Catalog catalog;
    std::vector<std::string> names;
    for (int i = 0; i < 200; ++i) {
        names.push_back("c" + std::to_string(i));
        catalog.add_text(names.back() + ".xml", component(names.back(), "apb"));
    }
    EXPECT_EQ(catalog.dangling().size(), 400u);  // bus and abstraction of each component
    const Document& bus = catalog.add_text("apb.xml", bus_definition("apb"));
    catalog.add_text("top.xml", design("top", names));
    std::vector<size_t> users(4), found(4), dangling(4);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < users.size(); ++t)
        threads.emplace_back([&, t] {
            users[t] = catalog.referrers(bus).size();
            for (const std::string& name : names)
                found[t] += catalog.find(Vlnv{"acme.example.com", "ip", name, "1.0"}) != nullptr;
            dangling[t] = catalog.dangling().size();
        });
    for (std::thread& thread : threads)
        thread.join();
    for (size_t t = 0; t < users.size(); ++t) {
        EXPECT_EQ(users[t], 200u) << t;
        EXPECT_EQ(found[t], 200u) << t;
        EXPECT_EQ(dangling[t], 200u) << t;  // the abstraction definitions only
    }
    EXPECT_EQ(catalog.closure(*catalog.find(Vlnv{"acme.example.com", "ip", "top", "1.0"})).order.size(), 202u);
}

TEST(CatalogReferences, ADocumentOfAnotherCatalogIsRefused)
{
    Catalog small, large;
    large.add_text("apb.xml", bus_definition("apb"));
    large.add_text("b.xml", component("b", "apb"));
    const Document& foreign = *large.documents().back();
    small.add_text("a.xml", component("a", "apb"));
    EXPECT_THROW(small.closure(foreign), std::invalid_argument);
    EXPECT_THROW(small.check(foreign), std::invalid_argument);
    EXPECT_THROW(small.referrers(foreign), std::invalid_argument);
    EXPECT_EQ(large.closure(foreign).order.size(), 2u);
}

TEST(CatalogReferences, ClosureListsDependenciesFirstAndWhatIsMissing)
{
    Catalog catalog;
    catalog.load({kDocuments + "/bus.xml", kDocuments + "/abs.xml", kDocuments + "/design.xml",
                  kDocuments + "/config.xml"});
    const Document* config = catalog.find(acme("ip", "timer_config"));
    ASSERT_NE(config, nullptr);
    Closure closure = catalog.closure(*config);
    EXPECT_EQ(files_of(closure.order), (std::vector<std::string>{"design.xml", "config.xml"}));
    ASSERT_EQ(closure.missing.size(), 1u);
    EXPECT_EQ(closure.missing[0].reference->target, acme("ip", "timer"));
    EXPECT_TRUE(closure.cycles.empty());

    catalog.load({kDocuments});
    closure = catalog.closure(*config);
    std::vector<std::string> order = files_of(closure.order);
    auto before = [&](const char* a, const char* b) {
        return std::find(order.begin(), order.end(), a) < std::find(order.begin(), order.end(), b);
    };
    ASSERT_EQ(order.size(), 5u);
    EXPECT_TRUE(before("bus.xml", "abs.xml"));
    EXPECT_TRUE(before("abs.xml", "comp.xml"));
    EXPECT_EQ(order.back(), "config.xml");
    EXPECT_TRUE(closure.missing.empty());
    // The component's hierarchy is the design that instances it.
    ASSERT_EQ(closure.cycles.size(), 1u);
    EXPECT_EQ(closure.cycles[0].front(), closure.cycles[0].back());
}

TEST(CatalogReferences, CyclesAreFoundOnceAndReportedAtTheReferenceThatClosesThem)
{
    Catalog catalog;
    catalog.load({kDocuments});
    std::vector<std::vector<const Document*>> cycles = catalog.cycles();
    ASSERT_EQ(cycles.size(), 1u);
    EXPECT_EQ(cycles[0].size(), 3u);
    std::vector<Finding> found = with_rule(catalog.check(), "reference.cycle");
    ASSERT_EQ(found.size(), 1u);
    EXPECT_NE(found[0].message.find("acme.example.com:ip:timer:1.0"), std::string::npos);
    EXPECT_NE(found[0].message.find("acme.example.com:ip:timer_design:1.0"), std::string::npos);

    Catalog acyclic;
    acyclic.load({kDocuments + "/bus.xml", kDocuments + "/abs.xml", kDocuments + "/design.xml"});
    acyclic.add_text("timer.xml", component("timer", "apb"));
    EXPECT_TRUE(acyclic.cycles().empty());
    EXPECT_TRUE(with_rule(acyclic.check(), "reference.cycle").empty());
}

TEST(CatalogReferences, VendorReferencesInsideVendorBlocksAndPatterns)
{
    const std::string vorlix = "xmlns:vorlix=\"http://www.vorlix.com/XMLSchema/ipxact/1.0\"";
    Catalog catalog;
    catalog.add_text("sub.xml", std::string("<?xml version=\"1.0\"?>\n<spirit:component ") + spirit_ns() + " " + vorlix +
                                    ">\n" + vlnv_elements("acme.example.com", "ip", "top", "1.0") +
                                    "  <spirit:fileSets>\n    <spirit:fileSet>\n      <spirit:name>rtl</spirit:name>\n"
                                    "      <spirit:vendorExtensions>\n        <vorlix:subCoreRef>\n"
                                    "          <vorlix:componentRef vorlix:vendor=\"acme.example.com\" vorlix:library=\"ip\"\n"
                                    "              vorlix:name=\"leaf\" vorlix:version=\"1.0\"/>\n"
                                    "        </vorlix:subCoreRef>\n"
                                    "        <vorlix:subCoreRef><vorlix:componentRef vorlix:vendor=\"acme.example.com\" "
                                    "vorlix:library=\"ip\" vorlix:name=\"leaf2\" vorlix:version=\"1.0\"/></vorlix:subCoreRef>\n"
                                    "      </spirit:vendorExtensions>\n"
                                    "    </spirit:fileSet>\n  </spirit:fileSets>\n</spirit:component>\n");
    const Document* top = catalog.find(acme("ip", "top"));
    ASSERT_NE(top, nullptr);
    ASSERT_TRUE(top->read_cleanly());
    ASSERT_EQ(top->references().size(), 2u);
    const Reference& sub = top->references()[0];
    EXPECT_EQ(sub.element, "vorlix:componentRef");
    EXPECT_EQ(sub.target, acme("ip", "leaf"));
    // A start tag over several lines is placed where it ends, as the parser reports it.
    EXPECT_EQ(sub.line, 13);
    EXPECT_EQ(sub.path, "component/fileSets/fileSet/vendorExtensions/subCoreRef/componentRef");
    const Reference& second = top->references()[1];
    EXPECT_EQ(second.target, acme("ip", "leaf2"));
    EXPECT_EQ(second.line, 15);
    EXPECT_EQ(second.path, "component/fileSets/fileSet/vendorExtensions/subCoreRef[2]/componentRef");
    EXPECT_EQ(catalog.resolve(sub), nullptr);
    catalog.add_text("leaf.xml", component("leaf", "apb"));
    EXPECT_NE(catalog.resolve(top->references()[0]), nullptr);

    catalog.add_text("pad.xml", "<?xml version=\"1.0\"?>\n<vorlix:parameterAbstractionDefinition " + vorlix + " " +
                                    spirit_ns() + ">\n" + vlnv_elements("acme.example.com", "params", "p", "1.0") +
                                    "  <vorlix:scope>\n    <vorlix:componentType vorlix:vendor=\"acme\\..*\" "
                                    "vorlix:name=\"le.f\"/>\n  </vorlix:scope>\n"
                                    "  <spirit:choices><spirit:choice><spirit:name>c</spirit:name>"
                                    "<spirit:enumeration>1</spirit:enumeration></spirit:choice></spirit:choices>\n"
                                    "</vorlix:parameterAbstractionDefinition>\n");
    const Document* pad = catalog.find(Vlnv{"acme.example.com", "params", "p", "1.0"});
    ASSERT_NE(pad, nullptr) << (catalog.load_findings().empty() ? "" : format_finding(catalog.load_findings().back()));
    EXPECT_EQ(pad->kind(), DocumentKind::parameter_abstraction_definition);
    ASSERT_EQ(pad->references().size(), 1u);
    EXPECT_TRUE(pad->references()[0].pattern);
    const Document* matched = catalog.resolve(pad->references()[0]);
    ASSERT_NE(matched, nullptr);
    EXPECT_EQ(matched->vlnv(), acme("ip", "leaf"));
}

TEST(CatalogReferences, APatternNamesOtherDocumentsAndAPartWrittenEmptyMatchesOnlyAnEmptyPart)
{
    const std::string vorlix = "xmlns:vorlix=\"http://www.vorlix.com/XMLSchema/ipxact/1.0\"";
    auto definition = [&](const std::string& name, const std::string& extends) {
        return "<?xml version=\"1.0\"?>\n<vorlix:parameterAbstractionDefinition " + vorlix + " " + spirit_ns() +
               ">\n" + vlnv_elements("acme.example.com", "params", name, "1.0") +
               "  <vorlix:scope><vorlix:custom>x</vorlix:custom></vorlix:scope>\n" + extends +
               "  <spirit:choices><spirit:choice><spirit:name>c</spirit:name>"
               "<spirit:enumeration>1</spirit:enumeration></spirit:choice></spirit:choices>\n"
               "</vorlix:parameterAbstractionDefinition>\n";
    };
    Catalog catalog;
    const Document& any = catalog.add_text("p.xml", definition("p", "  <vorlix:extends vorlix:name=\".*\"/>\n"));
    const Document& empty =
        catalog.add_text("r.xml", definition("r", "  <vorlix:extends vorlix:vendor=\"\" vorlix:name=\"q\"/>\n"));
    catalog.add_text("q.xml", definition("q", ""));
    ASSERT_TRUE(any.read_cleanly() && empty.read_cleanly());
    const Document* extended = catalog.resolve(any.references().at(0));
    ASSERT_NE(extended, nullptr);
    EXPECT_NE(extended, &any) << "a pattern matching its own document would make it its own cycle";
    EXPECT_TRUE(catalog.cycles().empty());
    EXPECT_EQ(catalog.resolve(empty.references().at(0)), nullptr) << "vendor=\"\" is no wildcard";

    // A part that is no regular expression is an error of its own, not a reference merely unresolved.
    const Document& typo = catalog.add_text("t.xml", definition("t", "  <vorlix:extends vorlix:name=\"q(\"/>\n"));
    const Rule* syntax = RuleRegistry::instance().find("reference.pattern");
    const Rule* unresolved = RuleRegistry::instance().find("reference.unresolved");
    ASSERT_TRUE(syntax && unresolved);
    std::vector<Finding> found = catalog.check(typo, {syntax, unresolved});
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].rule, "reference.pattern");
    EXPECT_EQ(found[0].severity, Severity::error);
    EXPECT_NE(found[0].message.find("name 'q(' is no regular expression"), std::string::npos) << found[0].message;
    EXPECT_TRUE(catalog.check(any, {syntax}).empty());
}

// ---- rules ----

namespace {

// Reports every bus interface of a component; says it cannot check a bus type not loaded.
class BusInterfaceProbe : public Rule {
public:
    const char* id() const override { return "test.bus-interface"; }
    const char* description() const override { return "reports bus interfaces"; }
    KindSet kinds() const override { return kind_bit(DocumentKind::component); }
    void check(RuleContext& context) const override
    {
        for (const Reference& r : context.document().references()) {
            if (r.element != "spirit:busType")
                continue;
            if (!context.find(r.target))
                context.not_checked(r.path, "the bus interface's bus type", r.target);
            else
                context.report(Severity::warning, r.node, "checked");
        }
    }
};

class Thrower : public Rule {
public:
    const char* id() const override { return "test.throws"; }
    const char* description() const override { return "throws"; }
    void check(RuleContext&) const override { throw std::runtime_error("boom"); }
};

}  // namespace

TEST(CatalogRules, ARuleRunsOnItsKindsAndReportsWithLinesPathsAndNotCheckedNotes)
{
    Catalog catalog;
    catalog.add_text("apb.xml", bus_definition("apb"));
    catalog.add_text("a.xml", component("a", "apb"));
    catalog.add_text("b.xml", component("b", "missing"));
    BusInterfaceProbe probe;
    std::vector<Finding> found = catalog.check({&probe});
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(format_finding(found[0]),
              "a.xml:10: warning: [test.bus-interface] checked (component/busInterfaces/busInterface/busType)");
    EXPECT_EQ(format_finding(found[1]),
              "b.xml:10: note: [test.bus-interface] not checked: the bus interface's bus type: "
              "acme.example.com:buses:missing:1.0 not loaded (component/busInterfaces/busInterface/busType)");
}

TEST(CatalogRules, ARuleThatThrowsBecomesAnErrorAndTheOthersStillRun)
{
    Catalog catalog;
    catalog.add_text("a.xml", component("a", "apb"));
    Thrower thrower;
    BusInterfaceProbe probe;
    std::vector<Finding> found = catalog.check({&thrower, &probe});
    ASSERT_EQ(found.size(), 2u);
    ASSERT_EQ(with_rule(found, "rule.failed").size(), 1u);
    EXPECT_EQ(with_rule(found, "rule.failed")[0].severity, Severity::error) << "an unfinished check must not pass a gate";
    EXPECT_EQ(with_rule(found, "test.bus-interface").size(), 1u);

    std::vector<Finding> one = catalog.check(*catalog.documents()[0], {&probe, &thrower});
    ASSERT_EQ(one.size(), 2u);
    EXPECT_EQ(one[0].rule, "rule.failed") << "one document's findings come in line order too, whatever the rules' order";
}

TEST(CatalogRules, TheRegistryHoldsTheBuiltInRulesOnceEach)
{
    RuleRegistry& registry = RuleRegistry::instance();
    for (const char* id : {"reference.unresolved", "reference.kind", "reference.cycle", "catalog.duplicate-vlnv"})
        EXPECT_NE(registry.find(id), nullptr) << id;
    struct Again : Rule {
        const char* id() const override { return "reference.kind"; }
        const char* description() const override { return ""; }
        void check(RuleContext&) const override {}
    };
    EXPECT_FALSE(registry.add(std::make_unique<Again>()));
    std::vector<const Rule*> rules = registry.rules();
    EXPECT_TRUE(std::is_sorted(rules.begin(), rules.end(),
                               [](const Rule* a, const Rule* b) { return std::string(a->id()) < b->id(); }));
}

// ---- reports ----

TEST(CatalogReports, SarifIsValidJsonWithResultsLocationsAndRules)
{
    std::vector<Finding> findings = {
        {"read.fault", Severity::error, "dir/a b.xml", 3, "component/name", "code 8: \"quoted\"\tand \x01 control"},
        {"reference.unresolved", Severity::note, "/abs/c.xml", 0, "", std::string("bad utf-8 \xff\xfe end")},
    };
    std::ostringstream out;
    write_sarif(out, findings, RuleRegistry::instance().rules());
    scratch_directory dir;
    std::string file = dir.write("log.sarif", out.str());
    std::string check =
        "python3 -c \"import json,sys; d=json.load(open(sys.argv[1])); r=d['runs'][0]; "
        "assert d['version']=='2.1.0'; ids=[x['id'] for x in r['tool']['driver']['rules']]; "
        "res=r['results']; assert len(res)==2; "
        "assert all(ids[x['ruleIndex']]==x['ruleId'] for x in res); "
        "assert res[0]['level']=='error' and res[1]['level']=='note'; "
        "l=res[0]['locations'][0]; assert l['physicalLocation']['artifactLocation']['uri']=='dir/a%20b.xml'; "
        "assert l['physicalLocation']['region']['startLine']==3; "
        "assert l['logicalLocations'][0]['fullyQualifiedName']=='component/name'; "
        "assert 'region' not in res[1]['locations'][0]['physicalLocation']; "
        "assert res[1]['locations'][0]['physicalLocation']['artifactLocation']['uri']=='file:///abs/c.xml'; "
        "assert res[0]['message']['text'].startswith('code 8: \\\"quoted\\\"'); "
        "assert '\\ufffd' in res[1]['message']['text']\" " +
        file;
    EXPECT_EQ(std::system(check.c_str()), 0) << out.str();
}

TEST(CatalogReports, TextLinesFollowTheFindingFormat)
{
    Finding f{"memory.overlap", Severity::warning, "x.xml", 12, "component/memoryMaps/memoryMap[2]", "blocks overlap"};
    EXPECT_EQ(format_finding(f), "x.xml:12: warning: [memory.overlap] blocks overlap (component/memoryMaps/memoryMap[2])");
    f.path.clear();
    f.line = 0;
    EXPECT_EQ(format_finding(f), "x.xml:0: warning: [memory.overlap] blocks overlap");
    EXPECT_FALSE(has_errors({f}));
    f.severity = Severity::error;
    EXPECT_TRUE(has_errors({f}));
}

TEST(CatalogVlnv, ParsesFourPartsOnly)
{
    EXPECT_EQ(Vlnv::parse("a:b:c:d"), (Vlnv{"a", "b", "c", "d"}));
    EXPECT_FALSE(Vlnv::parse("a:b:c"));
    EXPECT_FALSE(Vlnv::parse("a:b:c:d:e"));
    EXPECT_FALSE(Vlnv::parse(":::"));
    EXPECT_FALSE(Vlnv::parse("a:b::d"));
    EXPECT_EQ(Vlnv::parse("a:b:c:d")->to_string(), "a:b:c:d");
}

// ---- the real corpus ----

TEST(CatalogCorpus, LoadsTheCorpusResolvesWhatItHoldsAndRunsEveryRuleWithoutStopping)
{
    std::string corpus = std::string(IPXACT_SHARED_DIR) + "/corpus-1685-2009";
    if (!fs::is_directory(corpus))
        GTEST_SKIP() << "no corpus at " << corpus;
    Catalog catalog;
    catalog.load({corpus});
    EXPECT_GE(catalog.documents().size(), 30u);
    EXPECT_GT(catalog.of_kind(DocumentKind::component).size(), 0u);
    EXPECT_GT(catalog.of_kind(DocumentKind::design).size(), 0u);
    size_t references = 0;
    for (const Document* d : catalog.documents())
        references += d->references().size();
    EXPECT_GT(references, catalog.dangling().size()) << "some corpus references resolve";
    std::vector<Finding> findings = catalog.check();
    EXPECT_TRUE(with_rule(findings, "rule.failed").empty());
    // The corpus holds copies of the same component under two file names.
    EXPECT_FALSE(catalog.duplicates().empty());
    for (const Finding& f : findings)
        EXPECT_FALSE(f.file.empty());
}
