// The table-driven reading and writing on a few classes described here by hand, so that each rule of
// the engine is seen on its own, away from the generated classes:
//
//   spirit:record    title, note?, (radius | side), entry{1,3}, any element of another namespace*
//   spirit:entry     simple content (an integer); @key required, @unit optional with default "mm"
//   labelledEntry    an entry type that adds @label and stands for an entry through xsi:type
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <ipxact/lmx60/lmx60_frontends.h>
#include <ipxact/spirit/HIPGSBinding.h>
#include <ipxact/spirit/HIPGSNamespaces.h>

using namespace HIPGSpirit;

namespace {

// What every generated class repeats: the virtual entries, each handing the class's own table to the
// engine.
template <class Self, class Base = HIPGSBase>
class Bound : public Base {
public:
    using Base::Base;
    HIPGSBase* cloneObj() const override { return new Self(static_cast<const Self&>(*this)); }
    HIPGSBase* newObj() const override { return new Self(); }
    void reset() override { static_cast<Self&>(*this) = Self(); }
    const char* getElementId() const override { return Self::s_class_info.element_id; }
    const ClassInfo* getClassInfo() const override { return &Self::s_class_info; }
    using HIPGSBase::marshal;
    using HIPGSBase::unmarshal;
    lmx60::elmx_error unmarshal(lmx60::c_xml_reader& reader, const std::string& name) override
    {
        return read_element(reader, *this, Self::s_class_info, name);
    }
    lmx60::elmx_error marshal(lmx60::c_xml_writer& writer, const char* name) const override
    {
        return write_element(writer, *this, Self::s_class_info, name);
    }
    lmx60::elmx_error unmarshal(lmx60::c_xml_reader& reader) { return read_document(reader, *this, Self::s_class_info); }
};

// The reader finds a child's member by the event the process-wide table gives its name. Names of
// our own, numbered past the generated ones, keep the generated events out of these tests.
enum : int32_t { kTitle = 9001, kNote, kRadius, kSide, kEntry };

const lmx60::s_event_map kEvents[] = {
    {kSpiritNamespaceId, "title", 5, kTitle},   {kSpiritNamespaceId, "note", 4, kNote},
    {kSpiritNamespaceId, "radius", 6, kRadius}, {kSpiritNamespaceId, "side", 4, kSide},
    {kSpiritNamespaceId, "entry", 5, kEntry},   {0, nullptr, 0, 1},
};
[[maybe_unused]] const bool kEventsRegistered = (register_element_events(kEvents), true);

const lmx60::s_ns_map kSpiritOnly[] = {{kSpiritNamespaceId, "spirit", kSpiritNamespaceUri}, {0, nullptr, nullptr}};
const auto* const kCollapse = &lmx60::validation_spec_collapse;

struct Entry : Bound<Entry> {
    Entry()
    {
        static const std::string kUnitDefault("mm");
        unit.set_default(&kUnitDefault);
    }
    lmx60::ct_simple_single<long long> value;
    lmx60::ct_simple_single<std::string> key;
    lmx60::ct_simple_optional<std::string> unit;
    static const ClassInfo s_class_info;
};

struct LabelledEntry : Bound<LabelledEntry, Entry> {
    lmx60::ct_simple_optional<std::string> label;
    static const ClassInfo s_class_info;
};

struct Shape : Bound<Shape, HIPGSChoiceContent> {
    Shape() : Bound(2) {}  // two alternatives, none chosen
    lmx60::ct_simple_optional<long long> radius;
    lmx60::ct_simple_optional<long long> side;
    static const ClassInfo s_class_info;
};

struct Record : Bound<Record> {
    lmx60::ct_simple_single<std::string> title;
    lmx60::ct_simple_optional<std::string> note;
    lmx60::ct_complex_single<Shape> shape;
    lmx60::ct_complex_multi<Entry> entries;
    lmx60::ct_simple_multi<lmx60::c_any_info> extras;
    static const ClassInfo s_class_info;
};

const MemberInfo kEntryMembers[] = {
    {MemberKind::attribute, kSpiritNamespaceId, "key", "spirit:key", 0, 1, 1, nullptr, ops<&Entry::key>(), kCollapse},
    {MemberKind::attribute, kSpiritNamespaceId, "unit", "spirit:unit", 0, 0, 1, nullptr, ops<&Entry::unit>(), kCollapse},
    {MemberKind::simple_content, 0, nullptr, nullptr, 0, 1, 1, nullptr, ops<&Entry::value>(), kCollapse},
};
const MemberInfo kLabelledEntryMembers[] = {
    kEntryMembers[0], kEntryMembers[1],
    {MemberKind::attribute, kSpiritNamespaceId, "label", "spirit:label", 0, 0, 1, nullptr, ops<&LabelledEntry::label>(),
     kCollapse},
    kEntryMembers[2],
};
const DerivedType kEntryDerived[] = {
    {kSpiritNamespaceId, "labelledEntryType", []() -> HIPGSBase* { return new LabelledEntry(); }},
    {0, nullptr, nullptr},
};
const ClassInfo Entry::s_class_info = {"spirit:entryType", 0, "entryType", ContentKind::simple, kEntryMembers, 3,
                                       kSpiritOnly, 901, "spirit:entryType", kEntryDerived};
const ClassInfo LabelledEntry::s_class_info = {
    "spirit:labelledEntryType", 0, "labelledEntryType", ContentKind::simple, kLabelledEntryMembers, 4, kSpiritOnly,
    902, "spirit:labelledEntryType", nullptr};

const MemberInfo kShapeMembers[] = {
    {MemberKind::element, kSpiritNamespaceId, "radius", "spirit:radius", kRadius, 1, 1, nullptr, ops<&Shape::radius>(),
     kCollapse},
    {MemberKind::element, kSpiritNamespaceId, "side", "spirit:side", kSide, 1, 1, nullptr, ops<&Shape::side>(), kCollapse},
};
const ClassInfo Shape::s_class_info = {"", 0, nullptr, ContentKind::choice, kShapeMembers, 2, kSpiritOnly, 0, nullptr,
                                       nullptr};

const int32_t kShapeStarts[] = {kRadius, kSide, 0};
const MemberInfo kRecordMembers[] = {
    {MemberKind::element, kSpiritNamespaceId, "title", "spirit:title", kTitle, 1, 1, nullptr, ops<&Record::title>(),
     kCollapse},
    {MemberKind::element, kSpiritNamespaceId, "note", "spirit:note", kNote, 0, 1, nullptr, ops<&Record::note>(), nullptr},
    {MemberKind::choice, 0, nullptr, nullptr, 0, 1, 1, kShapeStarts, ops<&Record::shape>(), nullptr},
    {MemberKind::element, kSpiritNamespaceId, "entry", "spirit:entry", kEntry, 1, 3, nullptr, ops<&Record::entries>(),
     nullptr},
    {MemberKind::any_element, kSpiritNamespaceId, "##other", nullptr, 0, 0, kUnbounded, nullptr, ops<&Record::extras>(),
     nullptr},
};
const ClassInfo Record::s_class_info = {"spirit:record", kSpiritNamespaceId, "record", ContentKind::sequence,
                                        kRecordMembers, 5, kSpiritOnly, 0, nullptr, nullptr};

// ---- documents, laid out as the writer lays them out ----

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
const std::string kTitleLine = "  <spirit:title>probe</spirit:title>\n";
const std::string kRadiusLine = "  <spirit:radius>3</spirit:radius>\n";

std::string record_document(const std::string& children)
{
    return kDeclaration + "<spirit:record xmlns:spirit=\"" + kSpiritNamespaceUri + "\">\n" + children +
           "</spirit:record>\n";
}

std::string entry_line(const std::string& key, const std::string& value, const std::string& attributes = "")
{
    return "  <spirit:entry spirit:key=\"" + key + "\"" + attributes + ">" + value + "</spirit:entry>\n";
}

// The children every record needs, with `entries` in place of its one entry.
std::string minimal_record(const std::string& entries = entry_line("a", "1"))
{
    return record_document(kTitleLine + kRadiusLine + entries);
}

Record record_in_memory()
{
    Record record;
    record.title.set("probe");
    select_alternative(record.shape.get(), Shape::s_class_info, 0);
    record.shape.get().radius.set(3);
    Entry& entry = record.entries.append();
    entry.key.set("a");
    entry.value.set(1);
    return record;
}

struct Fault {
    lmx60::elmx_error code;
    std::string item;
};

// "8 spirit:note, 21 spirit:title", for failure messages.
std::string listed(const std::vector<Fault>& faults)
{
    std::string text;
    for (const Fault& fault : faults)
        text += (text.empty() ? "" : ", ") + std::to_string(fault.code) + " " + fault.item;
    return text;
}

lmx60::elmx_error read(const std::string& xml, Record& record, lmx60::s_debug_error* debug = nullptr)
{
    return lmx60::unmarshal(&record, xml.data(), xml.size(), debug);
}

// The handler records each fault and asks the reader to carry on.
std::vector<Fault> read_continuing(const std::string& xml, Record& record)
{
    std::vector<Fault> faults;
    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    reader.set_error_handler([&faults](lmx60::elmx_error code, const std::string& item, int) {
        faults.push_back({code, item});
        return lmx60::ELMX_OK;
    });
    EXPECT_EQ(record.unmarshal(reader), lmx60::ELMX_OK);
    return faults;
}

lmx60::elmx_error write(const Record& record, std::string* text, lmx60::s_debug_error* debug = nullptr)
{
    return lmx60::marshal(record, text, debug);
}

// Reading `xml` succeeds and writing the object gives `xml` back, byte for byte.
Record expect_round_trip(const std::string& xml)
{
    Record record;
    lmx60::s_debug_error debug;
    EXPECT_EQ(read(xml, record, &debug), lmx60::ELMX_OK) << debug.to_string();
    std::string text;
    EXPECT_EQ(write(record, &text, &debug), lmx60::ELMX_OK) << debug.to_string();
    EXPECT_EQ(text, xml);
    return record;
}

void expect_refused(const std::string& xml, lmx60::elmx_error code, const std::string& item)
{
    Record record;
    lmx60::s_debug_error debug;
    EXPECT_EQ(read(xml, record, &debug), code) << xml;
    EXPECT_EQ(debug.item_name, item);
}

void expect_write_fault(const Record& record, lmx60::elmx_error code, const std::string& item)
{
    std::string text;
    lmx60::s_debug_error debug;
    EXPECT_EQ(write(record, &text, &debug), code);
    EXPECT_EQ(debug.item_name, item);
}

TEST(Sequence, ChildrenInTheirOrderReadIntoTheirMembersAndWriteBackUnchanged)
{
    const Record record =
        expect_round_trip(record_document(kTitleLine + "  <spirit:note>spare</spirit:note>\n" + kRadiusLine +
                                          entry_line("a", "1") + entry_line("b", "2")));
    EXPECT_EQ(record.title.get(), "probe");
    EXPECT_EQ(record.note.get(), "spare");
    EXPECT_EQ(record.shape.get_ptr()->radius.get(), 3);
    EXPECT_EQ(record.entries.size(), 2u);
    EXPECT_EQ(record.extras.size(), 0u);
}

TEST(Sequence, ObjectBuiltInMemoryWritesItsChildrenInTableOrder)
{
    Record record = record_in_memory();
    record.note.set("spare");  // set last, written second
    std::string text;
    ASSERT_EQ(write(record, &text), lmx60::ELMX_OK);
    EXPECT_EQ(text, record_document(kTitleLine + "  <spirit:note>spare</spirit:note>\n" + kRadiusLine +
                                    entry_line("a", "1")));
}

TEST(Sequence, ChildBackInTheOrderIsAnUnexpectedElement)
{
    const std::string late = "  <spirit:note>late</spirit:note>\n";
    expect_refused(minimal_record(entry_line("a", "1") + late), lmx60::ELMX_UNEXPECTED_ELEMENT, "spirit:note");
    Record record;
    const std::vector<Fault> faults = read_continuing(minimal_record(entry_line("a", "1") + late), record);
    ASSERT_FALSE(faults.empty());
    EXPECT_EQ(faults[0].code, lmx60::ELMX_UNEXPECTED_ELEMENT) << listed(faults);
    EXPECT_EQ(faults[0].item, "spirit:note");
    EXPECT_FALSE(record.note.is_set());
}

TEST(Occurrence, MissingRequiredChildIsNamed)
{
    expect_refused(record_document(kRadiusLine + entry_line("a", "1")), lmx60::ELMX_REQUIRED_ELEMENT_MISSING,
                   "spirit:title");
    expect_refused(record_document(kTitleLine + kRadiusLine), lmx60::ELMX_REQUIRED_ELEMENT_MISSING, "spirit:entry");
}

TEST(Occurrence, ChildPastItsMaximumIsAnUnexpectedElement)
{
    const std::string three = entry_line("a", "1") + entry_line("b", "2") + entry_line("c", "3");
    expect_round_trip(minimal_record(three));
    expect_refused(minimal_record(three + entry_line("d", "4")), lmx60::ELMX_UNEXPECTED_ELEMENT, "spirit:entry");
}

TEST(Occurrence, WritingOutsideTheBoundsFailsWith26)
{
    Record none = record_in_memory();
    none.entries.clear();
    expect_write_fault(none, lmx60::ELMX_OCCURRENCE_ERROR, "entry");
    Record four = record_in_memory();
    for (int i = 0; i < 3; ++i)
        four.entries.append().key.set("more");
    expect_write_fault(four, lmx60::ELMX_OCCURRENCE_ERROR, "entry");
}

TEST(RepeatedChild, ItemsKeepTheirDocumentOrder)
{
    const Record record =
        expect_round_trip(minimal_record(entry_line("c", "30") + entry_line("a", "10") + entry_line("b", "20")));
    ASSERT_EQ(record.entries.size(), 3u);
    std::string keys;
    for (size_t i = 0; i < record.entries.size(); ++i)
        keys += record.entries.get(i).key.get();
    EXPECT_EQ(keys, "cab");
    EXPECT_EQ(record.entries.get(2).value.get(), 20);
}

TEST(Choice, EachAlternativeReadsAloneAndWritesBack)
{
    const Record round = expect_round_trip(minimal_record());
    EXPECT_EQ(round.shape.get_ptr()->getChoiceId(), 0);
    EXPECT_FALSE(round.shape.get_ptr()->side.is_set());

    const Record square =
        expect_round_trip(record_document(kTitleLine + "  <spirit:side>4</spirit:side>\n" + entry_line("a", "1")));
    EXPECT_EQ(square.shape.get_ptr()->getChoiceId(), 1);
    EXPECT_EQ(square.shape.get_ptr()->side.get(), 4);
    EXPECT_FALSE(square.shape.get_ptr()->radius.is_set());
}

TEST(Choice, ChoosingAnotherAlternativeReleasesTheFirst)
{
    Record record = record_in_memory();
    select_alternative(record.shape.get(), Shape::s_class_info, 1);
    record.shape.get().side.set(4);
    EXPECT_FALSE(record.shape.get().radius.is_set());
    std::string text;
    ASSERT_EQ(write(record, &text), lmx60::ELMX_OK);
    EXPECT_EQ(text, record_document(kTitleLine + "  <spirit:side>4</spirit:side>\n" + entry_line("a", "1")));
}

TEST(Choice, NoAlternativeIsRefusedOnReadingAndOnWriting)
{
    // Reading names the elements any of which would have done; writing names the compositor.
    expect_refused(record_document(kTitleLine + entry_line("a", "1")), lmx60::ELMX_NO_CHOICE_ALTERNATIVE,
                   "spirit:radius or spirit:side");
    Record undecided = record_in_memory();
    release_alternatives(undecided.shape.get(), Shape::s_class_info);
    expect_write_fault(undecided, lmx60::ELMX_ELEMENT_NOT_FOUND, "{anonymous compositor}");
}

TEST(Attributes, UnsetDefaultIsSeenButNotWritten)
{
    const Record record = expect_round_trip(minimal_record());
    const Entry& entry = record.entries.get(0);
    EXPECT_FALSE(entry.unit.is_set());
    EXPECT_EQ(entry.unit.get(), "mm");

    // Once set, even to the default, the attribute is the document's own and goes back out.
    const Record stated = expect_round_trip(minimal_record(entry_line("a", "1", " spirit:unit=\"mm\"")));
    EXPECT_TRUE(stated.entries.get(0).unit.is_set());
}

TEST(Attributes, MissingRequiredOneFailsWith25NamingTheType)
{
    expect_refused(minimal_record("  <spirit:entry>1</spirit:entry>\n"), lmx60::ELMX_REQUIRED_ATTRIBUTE_MISSING,
                   "entryType");
}

TEST(Attributes, UnknownOneFailsWith9)
{
    expect_refused(minimal_record(entry_line("a", "1", " spirit:colour=\"red\"")), lmx60::ELMX_UNEXPECTED_ATTRIBUTE,
                   "spirit:colour");
}

TEST(SimpleContent, TextIsCollapsedAndConvertedToTheMemberType)
{
    const std::string padded = minimal_record("  <spirit:entry spirit:key=\"a\">\n    42 </spirit:entry>\n");
    Record record;
    ASSERT_EQ(read(padded, record), lmx60::ELMX_OK);
    EXPECT_EQ(record.entries.get(0).value.get(), 42);
    std::string text;
    ASSERT_EQ(write(record, &text), lmx60::ELMX_OK);
    EXPECT_EQ(text, minimal_record(entry_line("a", "42")));

    expect_refused(minimal_record(entry_line("a", "many")), lmx60::ELMX_BAD_VALUE, "spirit:entry");
}

TEST(Wildcard, ElementsOfAnotherNamespaceAreKeptWholeAndWrittenBack)
{
    const std::string extra = "  <x:extra xmlns:x=\"urn:example:x\" x:level=\"2\"><x:inner>kept</x:inner></x:extra>\n";
    const Record record = expect_round_trip(minimal_record(entry_line("a", "1") + extra + extra));
    ASSERT_EQ(record.extras.size(), 2u);
    EXPECT_EQ(record.extras.get(0).get_namespace(), "urn:example:x");
    EXPECT_EQ(record.extras.get(0).get_local_name(), "extra");
}

TEST(Wildcard, UnknownElementOfTheOwnNamespaceIsNotTaken)
{
    expect_refused(minimal_record(entry_line("a", "1") + "  <spirit:extra/>\n"), lmx60::ELMX_UNEXPECTED_ELEMENT,
                   "spirit:extra");
}

TEST(Recovery, ContinuingHandlerPassesOverAnUnexpectedElementAndReadsTheRest)
{
    const std::string xml = minimal_record(entry_line("a", "1") + "  <spirit:stray><spirit:title>no</spirit:title>"
                                                                  "</spirit:stray>\n" +
                                           entry_line("b", "2"));
    Record record;
    const std::vector<Fault> faults = read_continuing(xml, record);
    // Only the first fault is pinned: past a stray element the reader takes the content model up again
    // from its start, and what it then says about the children before the stray one is not settled.
    ASSERT_FALSE(faults.empty());
    EXPECT_EQ(faults[0].code, lmx60::ELMX_UNEXPECTED_ELEMENT) << listed(faults);
    EXPECT_EQ(faults[0].item, "spirit:stray");
    // Nothing inside the stray element is read as the record's own.
    EXPECT_EQ(record.title.get(), "probe");
    ASSERT_EQ(record.entries.size(), 2u);
    EXPECT_EQ(record.entries.get(1).key.get(), "b");
    EXPECT_EQ(record.entries.get(1).value.get(), 2);
}

const std::string kLabelledLine = "  <spirit:entry xmlns:xsi=\"" + std::string(kXsiNamespaceUri) +
                                  "\" xsi:type=\"spirit:labelledEntryType\" spirit:key=\"b\" spirit:label=\"wide\">7"
                                  "</spirit:entry>\n";

TEST(DerivedTypes, XsiTypeIsWrittenWhereTheBaseTypeIsExpected)
{
    Record record = record_in_memory();
    auto* labelled = new LabelledEntry();
    labelled->key.set("b");
    labelled->value.set(7);
    labelled->label.set("wide");
    record.entries.append(labelled);
    std::string text;
    ASSERT_EQ(write(record, &text), lmx60::ELMX_OK);
    EXPECT_EQ(text, minimal_record(entry_line("a", "1") + kLabelledLine));
}

TEST(DerivedTypes, XsiTypeChoosesTheClassOnReading)
{
    const Record record = expect_round_trip(minimal_record(entry_line("a", "1") + kLabelledLine));
    ASSERT_EQ(record.entries.size(), 2u);
    EXPECT_EQ(dynamic_cast<const LabelledEntry*>(&record.entries.get(0)), nullptr);
    const auto* labelled = dynamic_cast<const LabelledEntry*>(&record.entries.get(1));
    ASSERT_NE(labelled, nullptr);
    EXPECT_EQ(labelled->label.get(), "wide");
    EXPECT_EQ(labelled->value.get(), 7);

    // A type outside the family leaves the declared class, which has no @label to take.
    std::string unknown = minimal_record(kLabelledLine);
    unknown.replace(unknown.find("labelledEntryType"), 17, "otherEntryType");
    expect_refused(unknown, lmx60::ELMX_UNEXPECTED_ATTRIBUTE, "spirit:label");
}

}  // namespace
