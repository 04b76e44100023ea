// The pending list: registration and removal.
#include "kx_base.h"
#include "runtime/classic/pending.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace kx;

static_assert(sizeof(Pending) == 316 && offsetof(Pending, text) == 4 && offsetof(Pending, key) == 304);
static_assert(std::atomic<int>::is_always_lock_free && sizeof(std::atomic<int>) == sizeof(int));

struct ListTest : testing::Test {
    Pending list[8] = {};
    std::atomic<int> count = 0;

    // Entries 0 to n-1 with descriptor 10 + k, text "text k", key 100 + k, alternating flags.
    void fill(int n)
    {
        for (int k = 0; k < n; ++k) {
            Add_List(list, k, 10 + k, 100 + k, k % 2, 1 - k % 2);
            write(k, "text " + std::to_string(k));
        }
        count = n;
    }
    void write(int index, const std::string& text)
    {
        for (size_t i = 0; i < text.size(); ++i)
            list[index].text[i] = text[i];
    }
    std::string text(int index) const
    {
        std::string result(std::begin(list[index].text), std::end(list[index].text));
        return result.substr(0, result.find('\0'));
    }
    // Which of the filled entries stands at an index.
    int origin(int index) const
    {
        const int k = list[index].descriptor - 10;
        EXPECT_TRUE(list[index].key == 100 + k && list[index].received == k % 2 &&
                    list[index].waiting == 1 - k % 2 && text(index) == "text " + std::to_string(k));
        return k;
    }
};

TEST_F(ListTest, AddWipesTheTextAndDoesNotCount)
{
    write(2, std::string(299, 'x'));
    EXPECT_EQ(Add_List(list, 2, 5, 64, 0, 1), 0);
    EXPECT_TRUE(std::ranges::all_of(list[2].text, [](const auto& character) { return character == '\0'; }));
    EXPECT_TRUE(list[2].descriptor == 5 && list[2].key == 64 && list[2].waiting == 1 && count == 0);
}

TEST_F(ListTest, RemovalMovesLaterEntriesDown)
{
    const std::tuple<int, int, std::string> rows[] = {{4, 0, "123"},   {4, 1, "023"}, {4, 3, "012"},
                                                      {2, 0, "1"},     {2, 1, "0"},   {4, 4, "0123"},
                                                      {4, -1, "0123"}, {3, 99, "012"}};
    for (const auto& [entries, index, expected] : rows) {
        fill(entries);
        ClearList(list, &count, index);
        std::string left;
        for (int k = 0; k < count; ++k)
            left += std::to_string(origin(k));
        EXPECT_EQ(left, expected) << entries << " entries, index " << index;
    }
    fill(4);
    ClearList(list, &count, 3);
    EXPECT_EQ(origin(3), 3) << "what was last keeps its contents beyond the count";
}

TEST_F(ListTest, ALongerTextLeavesNothingBehind)
{
    fill(3);
    write(1, "a long text, longer than the one that moves here");
    ClearList(list, &count, 1);
    EXPECT_EQ(text(1), "text 2");
}

TEST_F(ListTest, AListOfOneIsEmptiedWhateverTheIndex)
{
    for (int index : {0, 5, -3}) {
        fill(1);
        ClearList(list, &count, index);
        EXPECT_TRUE(count == 0 && text(0).empty() && list[0].descriptor == 0 && list[0].key == 0 &&
                    list[0].received == 0 && list[0].waiting == 1);
    }
}

TEST_F(ListTest, AnEmptyListIsLeftAlone)
{
    fill(1);
    for (int length : {0, -1}) {
        count = length;
        ClearList(list, &count, 0);
        EXPECT_EQ(count, length);
        EXPECT_EQ(origin(0), 0);
    }
}

TEST(PendingList, TimeOutPassesOverTheEntryThatMovesIntoAFreedPlace)
{
    const KeyCode key = KeyCode::set_payload;
    for (int i = 0; i < 3; ++i)
        add_pending(7, key, waiting_caller);
    add_pending(8, key, waiting_caller);
    add_pending(7, key, push_registration);
    remove_waiting(7, key);
    ASSERT_EQ(m_nSockeRIinfosLen, 3);
    EXPECT_EQ(SockeRIinfos[0].descriptor, 7) << "the second of three in a row stays";
    EXPECT_EQ(SockeRIinfos[1].descriptor, 8);
    EXPECT_EQ(SockeRIinfos[2].waiting, push_registration);
}
