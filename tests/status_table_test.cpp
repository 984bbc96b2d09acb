// Database statuses become HRESULTs through the fixed table; unknown statuses pass silently.
#include <gtest/gtest.h>

#include <string>

#include "axsupport/errors.h"
#include "axsupport/status_table.h"
#include "frame/com.h"
#include "frame/module.h"

namespace {

using kx::Velt::ErrorStatus;

ErrorStatus status(int n) { return static_cast<ErrorStatus>(n); }

struct ShownBox {
    std::wstring text;
    std::wstring caption;
    UINT style = 0;
    HWND owner = reinterpret_cast<HWND>(1);
    int calls = 0;
} gShown;

int WINAPI recordBox(HWND owner, LPCWSTR text, LPCWSTR caption, UINT style)
{
    gShown.owner = owner;
    gShown.text = text ? text : L"";
    gShown.caption = caption ? caption : L"";
    gShown.style = style;
    ++gShown.calls;
    return IDOK;
}

const GUID kIid = {0x1, 0x2, 0x3, {4, 5, 6, 7, 8, 9, 10, 11}};

}  // namespace

TEST(StatusTable, HoldsTheFixedRunsWithTheirIrregularities)
{
    struct Case {
        int status;
        uint32_t code;
    } cases[] = {
        {1, 0x80200001},  {8, 0x80200008},  {10, 0x80200009}, {59, 0x80200039}, {60, 0x0020003A},
        {61, 0x8020003B}, {105, 0x80200065}, {142, 0x8020007C}, {314, 0x802000BE}, {392, 0x80200101},
        {20000, 0x00200102}, {20001, 0x00200103}, {20012, 0x0020010E}, {20050, 0x80200134},
        {395, 0x80200135}, {405, 0x80200139}, {399, 0x8020013A}, {400, 0x8020013F}, {9, 0x80200140},
        {106, 0x80200141}, {394, 0x80200143}, {411, 0x80200149}, {431, 0x8020014C},
        {20052, 0x8020014E}, {1001, 0x80210090}, {1104, 0x80210096}, {1203, 0x80210099},
        {107, 0x80210100}, {550, 0x80210101},
    };
    for (const Case& c : cases)
        EXPECT_EQ(static_cast<uint32_t>(RaiseVrxException(kIid, 0, status(c.status))), c.code) << c.status;
    // Four statuses look like success to a failure test; they stay that way.
    EXPECT_FALSE(FAILED(RaiseVrxException(kIid, 0, status(60))));
    EXPECT_FALSE(FAILED(RaiseVrxException(kIid, 0, status(20012))));
}

TEST(StatusTable, UnknownStatusesPassAsSuccessAndGrowTheTable)
{
    // Earlier tests may have added unknown statuses already: count from here.
    size_t before = nk::statusTableSize();
    ASSERT_GE(before, 340u);
    ErrorStatus fresh = status(777777);
    EXPECT_FALSE(nk::statusKnown(fresh));
    EXPECT_EQ(RaiseVrxException(kIid, 0, fresh), S_OK);
    EXPECT_EQ(nk::statusTableSize(), before + 1);
    EXPECT_EQ(RaiseVrxException(kIid, 0, fresh), S_OK);
    EXPECT_EQ(nk::statusTableSize(), before + 1);
    EXPECT_EQ(RaiseVrxException(kIid, E_FAIL, status(19)), E_FAIL);
}

TEST(StatusTable, HasExactlyThreeHundredFortyEntriesForItsRuns)
{
    int inRuns = 0;
    for (int s = -10; s <= 21000; ++s)
        if (nk::statusKnown(status(s)) && s != 19 && s != 777777) ++inRuns;
    EXPECT_EQ(inRuns, 340);
}

TEST(StatusTable, OwnHresultWinsAndSuccessIsSuccess)
{
    EXPECT_EQ(RaiseVrxException(kIid, 0, kx::Velt::eOk), S_OK);
    EXPECT_EQ(RaiseVrxException(kIid, E_FAIL, status(1)), E_FAIL);
    EXPECT_EQ(RaiseVxAXException(kIid, 0, 0), S_OK);
    EXPECT_EQ(RaiseVxAXException(kIid, 0, 0x8021000Au), static_cast<HRESULT>(0x8021000A));
    EXPECT_EQ(RaiseVxAXException(kIid, E_POINTER, 0x8021000Au, 1, 2, 3), E_POINTER);
}

TEST(StatusTable, DuplicateRecordNameIsShownThenReportedAsSuccess)
{
    auto previous = nk::setMessageBoxForTesting(recordBox);
    gShown = ShownBox{};
    EXPECT_EQ(RaiseVrxException(kIid, 0, status(95)), S_OK);
    nk::setMessageBoxForTesting(previous);
    EXPECT_EQ(gShown.calls, 1);
    EXPECT_EQ(gShown.owner, nullptr);
    EXPECT_EQ(gShown.caption, L"TARSK+");
    EXPECT_EQ(gShown.style, static_cast<UINT>(MB_SYSTEMMODAL));
    std::wstring expected;
    ASSERT_TRUE(nk::Module::loadString(10000, expected));
    EXPECT_EQ(gShown.text, expected);
}

TEST(StatusTable, ResourceErrorsFillErrorInformation)
{
    const CLSID someClass = {0xabcdef01, 0x2, 0x3, {4, 5, 6, 7, 8, 9, 10, 11}};
    HRESULT hr = nk::raiseResourceError(someClass, 24, kIid, nk::Module::resourceInstance());
    EXPECT_EQ(static_cast<uint32_t>(hr), 0x80040018u);
    nk::ComPtr<IErrorInfo> info;
    ASSERT_EQ(GetErrorInfo(0, info.put()), S_OK);
    nk::Bstr text;
    info->GetDescription(text.put());
    EXPECT_GT(text.length(), 0u);
    GUID guid = {};
    info->GetGUID(&guid);
    EXPECT_EQ(guid, kIid);

    // A string that is not there still makes an error, with a text of its own.
    hr = nk::raiseResourceError(someClass, 9999, kIid, nk::Module::resourceInstance());
    EXPECT_EQ(static_cast<uint32_t>(hr), 0x8004270Fu);
    ASSERT_EQ(GetErrorInfo(0, info.put()), S_OK);
    info->GetDescription(text.put());
    EXPECT_STREQ(text.c_str(), L"Unknown Error");
}
