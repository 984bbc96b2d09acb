// The COM toolkit that every wrapper shares: the enumerator base and the registration mode.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "frame/com.h"
#include "frame/enum_variant.h"
#include "frame/module.h"
#include "frame/pool.h"
#include "frame/registration.h"

namespace {

// Walks a list of numbers, failing on a negative one.
class NumberEnum final : public nk::EnumVariantBase {
public:
    explicit NumberEnum(std::vector<int> items) : items_(std::move(items)) {}

protected:
    bool done() override { return pos_ >= items_.size(); }
    HRESULT current(VARIANT* item) override
    {
        if (items_[pos_] < 0) return E_FAIL;
        V_VT(item) = VT_I4;
        V_I4(item) = items_[pos_];
        return S_OK;
    }
    void advance() override { ++pos_; }
    void restart() override { pos_ = 0; }

private:
    std::vector<int> items_;
    size_t pos_ = 0;
};

nk::ComPtr<IEnumVARIANT> numbers(std::vector<int> items)
{
    nk::ComPtr<IUnknown> unknown;
    EXPECT_EQ(nk::EnumVariantBase::create<NumberEnum>(unknown.put(), std::move(items)), S_OK);
    return unknown.as<IEnumVARIANT>();
}

}  // namespace

TEST(EnumeratorBase, FetchesSkipsResetsAndRefusesToClone)
{
    LONG liveBefore = nk::Module::lockCount();
    {
        auto e = numbers({1, 2, 3});
        EXPECT_EQ(nk::Module::lockCount(), liveBefore + 1);
        VARIANT items[4];
        ULONG fetched = 99;
        EXPECT_EQ(e->Next(2, items, &fetched), S_OK);
        EXPECT_EQ(fetched, 2u);
        EXPECT_EQ(V_I4(&items[1]), 2);
        EXPECT_EQ(e->Next(4, items, &fetched), S_FALSE);
        EXPECT_EQ(fetched, 1u);
        EXPECT_EQ(e->Next(1, items, nullptr), S_FALSE);
        EXPECT_EQ(e->Next(2, items, nullptr), E_POINTER);
        EXPECT_EQ(e->Skip(1000), S_OK);
        EXPECT_EQ(e->Reset(), S_OK);
        EXPECT_EQ(e->Next(1, items, nullptr), S_OK);
        EXPECT_EQ(V_I4(&items[0]), 1);
        IEnumVARIANT* copy = reinterpret_cast<IEnumVARIANT*>(1);
        EXPECT_EQ(e->Clone(&copy), E_NOTIMPL);
        EXPECT_EQ(copy, nullptr);
    }
    EXPECT_EQ(nk::Module::lockCount(), liveBefore);
}

TEST(EnumeratorBase, AFailingItemFetchesNothing)
{
    auto e = numbers({5, -1});
    VARIANT items[2];
    ULONG fetched = 99;
    EXPECT_EQ(e->Next(2, items, &fetched), E_FAIL);
    EXPECT_EQ(fetched, 0u);
}

// Blocks taken on one thread and given on another go back whole and stay counted, also past
// what one thread keeps and while both threads work at once.
TEST(Pool, BlocksCrossThreadsAndStayCounted)
{
    constexpr size_t kSize = 200;
    const long before = nk::pool::live();
    std::vector<void*> blocks;
    for (int i = 0; i < 1000; ++i) blocks.push_back(nk::pool::take(kSize));
    EXPECT_EQ(std::set<void*>(blocks.begin(), blocks.end()).size(), blocks.size());
    EXPECT_EQ(nk::pool::live(), before + 1000);
    std::thread([&] {
        for (void* b : blocks) nk::pool::give(b, kSize);
        nk::pool::threadDone();
    }).join();
    EXPECT_EQ(nk::pool::live(), before);

    // One thread takes and writes, the other gives, at the same time.
    std::mutex guard;
    std::vector<void*> handed;
    std::atomic<bool> finished{false};
    std::thread giver([&] {
        for (;;) {
            const bool last = finished;  // read first: whatever was handed before it is seen below
            std::vector<void*> mine;
            {
                std::lock_guard<std::mutex> lock(guard);
                mine.swap(handed);
            }
            for (void* b : mine) nk::pool::give(b, kSize);
            if (last && mine.empty()) break;
        }
    });
    for (int i = 0; i < 20000; ++i) {
        void* b = nk::pool::take(kSize);
        ASSERT_NE(b, nullptr);
        std::memset(b, i & 0xFF, kSize);
        std::lock_guard<std::mutex> lock(guard);
        handed.push_back(b);
    }
    finished = true;
    giver.join();
    EXPECT_TRUE(handed.empty());
    EXPECT_EQ(nk::pool::live(), before);
}

TEST(Registration, OnlyTheExactWordUserSwitchesToPerUser)
{
    nk::Module::setPerUserRegistration(false);
    for (const wchar_t* text : {L"users", L"use", L"", L"user "}) {
        nk::installServer(false, text);
        EXPECT_FALSE(nk::Module::perUserRegistration()) << text;
    }
    EXPECT_EQ(nk::installServer(false, L"USER"), S_OK);
    EXPECT_TRUE(nk::Module::perUserRegistration());
    // Another word leaves the mode as it was.
    nk::installServer(false, L"machine");
    EXPECT_TRUE(nk::Module::perUserRegistration());
    nk::Module::setPerUserRegistration(false);
}
