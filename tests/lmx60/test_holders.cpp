// The optional holders keep a class-typed value behind one word; these tests pin down that they
// still behave as values: deep copies, defaults seen while unset, moves that leave an empty holder.
#include <ipxact/lmx60/c_big_int.h>
#include <ipxact/lmx60/lmx60_holders.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using Text = lmx60::ct_simple_optional<std::string>;

const std::string kDefault("long");

TEST(OptionalHolder, ShowsItsDefaultUntilSetAndKeepsItsFlagApart)
{
    Text text;
    EXPECT_FALSE(text.is_set());
    EXPECT_EQ(text.get(), "");
    text.set_default(&kDefault);
    EXPECT_FALSE(text.is_set());
    EXPECT_EQ(&std::as_const(text).get(), &kDefault);  // the default is shared, not copied into each holder
    EXPECT_EQ(text.get(), "long");
    text.set("float");
    EXPECT_TRUE(text.is_set());
    EXPECT_EQ(text.get(), "float");
    EXPECT_EQ(kDefault, "long");
    text.unset();
    EXPECT_FALSE(text.is_set());
    EXPECT_EQ(sizeof(Text), sizeof(void*));

    lmx60::ct_simple_optional<lmx60::c_big_int> number;
    EXPECT_EQ(number.get().text(), "0");
    number.set(lmx60::c_big_int("123456789012345678901234567890"));
    EXPECT_EQ(number.get().text(), "123456789012345678901234567890");
}

TEST(OptionalHolder, CopiesAreDeepAndChangingOneLeavesTheOtherAndTheDefault)
{
    Text original;
    original.set_default(&kDefault);
    Text copy(original);
    copy.get() += "er";  // a change in place takes a copy of the default first
    EXPECT_EQ(copy.get(), "longer");
    EXPECT_EQ(original.get(), "long");
    EXPECT_EQ(kDefault, "long");
    EXPECT_FALSE(copy.is_set());

    original.set("set");
    Text assigned;
    assigned = original;
    original.set("changed");
    EXPECT_TRUE(assigned.is_set());
    EXPECT_EQ(assigned.get(), "set");
    const Text& same = assigned;
    assigned = same;  // assigning a holder to itself keeps its value
    EXPECT_EQ(assigned.get(), "set");
}

TEST(OptionalHolder, MovesLeaveAnEmptyUnsetHolderAndSwapsExchangeEverything)
{
    Text source;
    source.set(std::string(100, 'x'));
    Text target(std::move(source));
    EXPECT_EQ(target.get(), std::string(100, 'x'));
    EXPECT_TRUE(target.is_set());
    EXPECT_FALSE(source.is_set());  // NOLINT(bugprone-use-after-move): the moved-from state is defined
    EXPECT_EQ(source.get(), "");

    Text other;
    other.set_default(&kDefault);
    target.swap(other);
    EXPECT_FALSE(target.is_set());
    EXPECT_EQ(target.get(), "long");
    EXPECT_TRUE(other.is_set());
    EXPECT_EQ(other.get(), std::string(100, 'x'));
}

TEST(OptionalHolder, EqualityComparesPresenceThenValue)
{
    Text withDefault, plain, set, setToo;
    withDefault.set_default(&kDefault);
    EXPECT_TRUE(withDefault == plain);  // neither is set: what they would show does not matter
    set.set("a");
    setToo.set("a");
    EXPECT_TRUE(set == setToo);
    EXPECT_FALSE(set == plain);
    setToo.set("b");
    EXPECT_FALSE(set == setToo);
}

TEST(MultiHolder, StartsEmptyInOneWordAndCopiesDeeply)
{
    lmx60::ct_simple_multi<std::string> list;
    EXPECT_EQ(sizeof(list), sizeof(void*));
    EXPECT_EQ(list.size(), 0u);
    EXPECT_TRUE(std::as_const(list).items().empty());
    EXPECT_THROW(std::as_const(list).get(0), std::out_of_range);
    list.insert(5, "b");  // past the end: appended
    list.insert(0, "a");
    list.append("c");
    lmx60::ct_simple_multi<std::string> copy(list);
    copy.get(1) = "B";
    copy.erase(0);
    EXPECT_EQ(list.items(), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(copy.items(), (std::vector<std::string>{"B", "c"}));
    EXPECT_FALSE(list == copy);
    copy.clear();
    lmx60::ct_simple_multi<std::string> none;
    EXPECT_TRUE(copy == none);  // cleared and never filled are the same
    copy.erase(3);              // erasing from nothing does nothing
    EXPECT_EQ(copy.size(), 0u);

    lmx60::ct_simple_list_optional<std::string> present;
    present.set_present();
    EXPECT_TRUE(present.is_set());
    EXPECT_EQ(present.size(), 0u);
    EXPECT_FALSE(present == lmx60::ct_simple_list_optional<std::string>());
}

// A block of rarely set members with a default, as the generated classes box their optional
// attributes.
struct Rare {
    Rare() { format.set_default(&kDefault); }
    bool operator==(const Rare& other) const { return format == other.format && id == other.id; }
    Text format;
    Text id;
};

TEST(BoxedHolder, ReadsTheDefaultsWithoutABlockAndCopiesDeeply)
{
    lmx60::ct_boxed<Rare> box;
    EXPECT_EQ(sizeof(box), sizeof(void*));
    const lmx60::ct_boxed<Rare>& reading = box;
    EXPECT_EQ(reading->format.get(), "long");
    EXPECT_FALSE(reading->format.is_set());
    EXPECT_EQ(&reading.get(), &lmx60::ct_boxed<Rare>().get());  // no block of its own yet: the shared unset one

    box->id.set("a");
    lmx60::ct_boxed<Rare> copy(box);
    copy->id.set("b");
    EXPECT_EQ(box->id.get(), "a");
    EXPECT_EQ(copy->format.get(), "long");
    EXPECT_FALSE(box == copy);

    copy->id.unset();
    EXPECT_TRUE(copy == lmx60::ct_boxed<Rare>());  // a block with nothing set equals no block
    lmx60::ct_boxed<Rare> moved(std::move(box));
    EXPECT_EQ(std::as_const(moved)->id.get(), "a");
    EXPECT_FALSE(std::as_const(box)->id.is_set());
    moved = copy;
    EXPECT_TRUE(moved == copy);
}

}  // namespace
