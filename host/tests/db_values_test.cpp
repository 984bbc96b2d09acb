// The value types of the database: names, text, colours, transparency,
// result buffers, handles at scale and header variables by name.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "db/blocks.h"
#include "db/color.h"
#include "db/database.h"
#include "db/entities.h"
#include "db/headervars.h"
#include "db/objects.h"
#include "db/resbuf.h"
#include "db/strings.h"
#include "db/symtables.h"
#include "services/hostservices.h"

using namespace kx;

TEST(DbText, NamesCompareWithoutRegardToCase)
{
    EXPECT_TRUE(vxEqualNoCase(L"Layer", L"LAYER"));
    EXPECT_TRUE(vxEqualNoCase(L"\u00C9tage", L"\u00E9TAGE"));     // É / é
    EXPECT_TRUE(vxEqualNoCase(L"\u0141\u00F3d\u017A", L"\u0142\u00D3D\u0179"));  // Łódź
    EXPECT_TRUE(vxEqualNoCase(L"\u0421\u0442\u0435\u043D\u0430", L"\u0441\u0422\u0415\u041D\u0410"));  // Стена
    EXPECT_TRUE(vxEqualNoCase(L"\u03A4\u03BF\u03AF\u03C7\u03BF\u03C2", L"\u03C4\u039F\u03AF\u03A7\u039F\u03C2"));
    EXPECT_FALSE(vxEqualNoCase(L"Layer", L"Layers"));
    EXPECT_LT(vxCompareNoCase(L"apple", L"BANANA"), 0);
    EXPECT_EQ(VxNoCaseHash()(L"Walls"), VxNoCaseHash()(L"wALLS"));
    // The multiplication sign is not a letter.
    EXPECT_FALSE(vxEqualNoCase(L"\u00D7", L"\u00F7"));
}

TEST(DbText, Utf8BothWays)
{
    const std::wstring text = L"Ma\u00DF \u20AC \U0001F600 end";
    const std::string utf8 = vxToUtf8(text);
    EXPECT_EQ(utf8, "Ma\xC3\x9F \xE2\x82\xAC \xF0\x9F\x98\x80 end");
    EXPECT_EQ(vxFromUtf8(utf8), text);
    // Broken, truncated and overlong sequences become replacement characters.
    EXPECT_EQ(vxFromUtf8("a\xFF" "b"), L"a\uFFFDb");
    EXPECT_EQ(vxFromUtf8("a\xE2\x82"), L"a\uFFFD\uFFFD");
    EXPECT_EQ(vxFromUtf8("\xC0\xAF"), L"\uFFFD\uFFFD");
    EXPECT_EQ(vxFromPath(vxToPath(L"dir/\u00E9.lin").filename()), L"\u00E9.lin");
}

TEST(DbText, SymbolNames)
{
    EXPECT_TRUE(vxIsValidSymbolName(L"Walls-2 (old)"));
    EXPECT_TRUE(vxIsValidSymbolName(L"site|walls"));
    EXPECT_FALSE(vxIsValidSymbolName(L""));
    EXPECT_FALSE(vxIsValidSymbolName(std::wstring(256, L'a')));
    for (const wchar_t* bad : {L"a<b", L"a>b", L"a/b", L"a\\b", L"a\"b", L"a:b", L"a;b", L"a?b", L"a*b", L"a,b",
                               L"a=b", L"a`b", L"a\tb"})
        EXPECT_FALSE(vxIsValidSymbolName(bad)) << vxToUtf8(bad);
}

TEST(DbColor, IndexTrueColourAndPackedForms)
{
    VxCmEntityColor color;
    EXPECT_TRUE(color.isByLayer());
    EXPECT_EQ(color.colorIndex(), 256);
    EXPECT_EQ(color.setColorIndex(0), Velt::eOk);
    EXPECT_TRUE(color.isByBlock());
    EXPECT_EQ(color.color(), 0xC1000000u);
    EXPECT_EQ(color.setColorIndex(1), Velt::eOk);
    EXPECT_EQ(color.color(), 0xC3000001u);
    EXPECT_EQ(color.red(), 255);
    EXPECT_EQ(color.green(), 0);
    EXPECT_EQ(color.setColorIndex(258), Velt::eOutOfRange);
    EXPECT_EQ(color.setColorIndex(-1), Velt::eOutOfRange);

    ASSERT_EQ(color.setRGB(0, 0, 250), Velt::eOk);
    EXPECT_EQ(color.colorMethod(), VxCmEntityColor::kByColor);
    EXPECT_EQ(color.color(), 0xC20000FAu);
    EXPECT_EQ(color.colorIndex(), 5);  // nearest index: blue
    // The index palette answers itself as the nearest index of its own colours.
    for (int index = 1; index <= 255; ++index) {
        const uint32_t rgb = VxCmEntityColor::lookUpRGB(index);
        const int16_t back = VxCmEntityColor::lookUpACI(uint8_t(rgb >> 16), uint8_t(rgb >> 8), uint8_t(rgb));
        EXPECT_EQ(VxCmEntityColor::lookUpRGB(back), rgb) << index;
    }

    EXPECT_EQ(color.setColor(0x12345678), Velt::eInvalidInput);
    EXPECT_EQ(color.setColor(0xC3000000), Velt::eOutOfRange);
    EXPECT_EQ(color.setColor(0xC3000007), Velt::eOk);
    EXPECT_EQ(color.colorIndex(), 7);

    VxCmColor named;
    EXPECT_EQ(named.setNames(nullptr, L"Book"), Velt::eInvalidInput);
    named.setRGB(1, 2, 3);
    ASSERT_EQ(named.setNames(L"Dark", L"Book"), Velt::eOk);
    EXPECT_TRUE(named.hasNames());
    // Choosing an index drops the book colour.
    named.setColorIndex(3);
    EXPECT_FALSE(named.hasNames());
}

TEST(DbColor, Transparency)
{
    VxCmTransparency value;
    EXPECT_TRUE(value.isByLayer());
    value.setAlpha(25);
    EXPECT_TRUE(value.isByAlpha());
    EXPECT_EQ(value.serializeOut(), 0x02000019u);
    VxCmTransparency back;
    ASSERT_EQ(back.serializeIn(0x02000019u), Velt::eOk);
    EXPECT_EQ(back, value);
    EXPECT_EQ(back.serializeIn(0x01000000u), Velt::eOk);
    EXPECT_TRUE(back.isByBlock());
    EXPECT_EQ(back.serializeIn(0x07000000u), Velt::eInvalidInput);
    EXPECT_TRUE(VxCmTransparency(0).isClear());
    EXPECT_TRUE(VxCmTransparency(255).isSolid());
}

TEST(DbResBuf, CopiesComparisonsAndBinaryChunks)
{
    const uint8_t bytes[] = {0, 1, 2, 250};
    VxResBuf* chunk = vxutNewRb(1004);
    ASSERT_EQ(vxutSetBinary(chunk, bytes, sizeof bytes), Velt::eOk);
    EXPECT_EQ(vxutSetBinary(chunk, bytes, 40000), Velt::eInvalidInput);
    VxResBufPtr chain = vxutChain({vxutNewString(1001, L"APP"), chunk, vxutNewInt64(160, -5)});
    EXPECT_EQ(vxutChainLength(chain.get()), 3u);
    VxResBufPtr copy(vxutDupRb(chain.get()));
    EXPECT_TRUE(vxutChainsEqual(copy.get(), chain.get()));
    copy->rbnext->resval.rbinary.buf[3] = 251;
    EXPECT_FALSE(vxutChainsEqual(copy.get(), chain.get()));
    EXPECT_EQ(vxutDupRb(nullptr), nullptr);
    VxResBufPtr range(vxutDupRange(chain.get(), chain->rbnext->rbnext));
    EXPECT_EQ(vxutChainLength(range.get()), 2u);
    // A string setter on a number buffer is refused.
    VxResBufPtr number(vxutNewReal(40, 1.0));
    EXPECT_EQ(vxutSetString(number.get(), L"x"), Velt::eInvalidResBuf);
    EXPECT_EQ(vxutStorageOf(kRtStr), VxRbStorage::kString);
    EXPECT_EQ(vxutStorageOf(330), VxRbStorage::kName);
}

TEST(DbHandles, ManyObjectsAndHandlesGivenByAReader)
{
    VxDbDatabase db;
    std::vector<VxDbObjectId> ids;
    {
        VxDbObjectPointer<VxDbBlockTableRecord> space(db.modelSpaceId(), VxDb::kForWrite);
        for (int i = 0; i < 5000; ++i) {
            auto* point = new VxDbPoint({double(i), 0, 0});
            VxDbObjectId id;
            ASSERT_EQ(space->appendVxDbEntity(id, point), Velt::eOk);
            point->close();
            ids.push_back(id);
        }
    }
    for (size_t i = 0; i < ids.size(); i += 499) {
        VxDbObjectId found;
        ASSERT_EQ(db.getVxDbObjectId(found, false, ids[i].handle()), Velt::eOk);
        EXPECT_EQ(found, ids[i]);
    }

    // A reader meets a reference before the object: the id exists first and
    // the object fills it later, keeping its handle.
    VxDbObjectId forward;
    const VxDbHandle later(0x100000);
    ASSERT_EQ(db.getVxDbObjectId(forward, true, later), Velt::eOk);
    EXPECT_FALSE(forward.isValid());
    VxDbObject* object = nullptr;
    EXPECT_EQ(vxdbOpenObject(object, forward, VxDb::kForRead), Velt::eNullObjectPointer);
    EXPECT_GT(db.handseed().value(), later.value());
    auto* record = new VxDbXrecord();
    VxDbObjectId filled;
    ASSERT_EQ(db.addVxDbObjectWithHandle(filled, record, later), Velt::eOk);
    record->close();
    EXPECT_EQ(filled, forward);
    EXPECT_TRUE(forward.isValid());
    auto* second = new VxDbXrecord();
    EXPECT_EQ(db.addVxDbObjectWithHandle(filled, second, later), Velt::eHandleInUse);
    EXPECT_EQ(db.addVxDbObjectWithHandle(filled, second, VxDbHandle()), Velt::eNullHandle);
    delete second;

    EXPECT_EQ(db.setHandseed(VxDbHandle(1)), Velt::eInvalidInput);
    EXPECT_EQ(db.setHandseed(VxDbHandle(0x200000)), Velt::eOk);
    EXPECT_EQ(db.handseed().value(), 0x200000u);
    size_t live = 0;
    for (size_t slot = 1; slot < db.objectSlotCount(); ++slot)
        live += db.objectIdAtSlot(slot).isValid() ? 1 : 0;
    EXPECT_GT(live, 5000u);
}

TEST(DbHeader, EveryVariableByName)
{
    VxDbDatabase db;
    for (size_t i = 0; i < size_t(VxDbHeaderVar::kCount); ++i) {
        const VxDbHeaderVar var = VxDbHeaderVar(i);
        const VxDbHeaderVarInfo& info = vxdbHeaderVarInfo(var);
        VxDbHeaderVar found;
        ASSERT_TRUE(vxdbFindHeaderVar(std::wstring(L"$") + info.name, found)) << vxToUtf8(info.name);
        EXPECT_EQ(found, var);
        // Each variable takes its own value back, and reads by name.
        VxDbHeaderValue value;
        ASSERT_EQ(db.getHeaderVar(var, value), Velt::eOk);
        EXPECT_EQ(db.setHeaderVar(var, value), Velt::eOk) << vxToUtf8(info.name);
        VxResBuf* byName = nullptr;
        EXPECT_EQ(db.getSysVar(info.name, byName), Velt::eOk);
        ASSERT_NE(byName, nullptr);
        EXPECT_EQ(db.setSysVar(info.name, byName), Velt::eOk) << vxToUtf8(info.name);
        vxutRelRb(byName);
    }
    EXPECT_FALSE(db.headerText(VxDbHeaderVar::kVersionGuid).empty());
    EXPECT_GT(db.headerReal(VxDbHeaderVar::kTDCreate), 2400000.0);

    // Current plot style: by name needs an id, the other kinds take none.
    EXPECT_EQ(db.setCePlotStyleName(VxDb::kPlotStyleNameById), Velt::eNullObjectId);
    EXPECT_EQ(db.setCePlotStyleName(VxDb::kPlotStyleNameByBlock), Velt::eOk);
    VxDbObjectId style;
    EXPECT_EQ(db.getCePlotStyleNameId(style), VxDb::kPlotStyleNameByBlock);
    EXPECT_TRUE(style.isNull());

    // The extents follow model space.
    {
        VxDbObjectPointer<VxDbBlockTableRecord> space(db.modelSpaceId(), VxDb::kForWrite);
        auto* line = new VxDbLine({-1, 2, 0}, {4, 5, 6});
        space->appendVxDbEntity(line);
        line->close();
    }
    ASSERT_EQ(db.updateExt(), Velt::eOk);
    EXPECT_TRUE(db.extmin().isEqualTo({-1, 2, 0}));
    EXPECT_TRUE(db.extmax().isEqualTo({4, 5, 6}));
}

TEST(DbLinetypes, FileFormatDetails)
{
    namespace fs = std::filesystem;
    const fs::path folder = fs::temp_directory_path() / "kxhost_linfile";
    fs::create_directories(folder);
    std::ofstream(folder / "mixed.lin")
        << ";; comments and blank lines are skipped\n\n"
        << "*LONG,A pattern that goes on\r\n"
        << "A,1.0,-0.5,\n"
        << "  0.0,-0.5\n"
        << "*BROKEN,Not a number\n"
        << "A,1.0,abc\n"
        << "*TOO_MANY,Thirteen dashes\n"
        << "A,1,-1,1,-1,1,-1,1,-1,1,-1,1,-1,1\n"
        << "*SHAPED,With a shape\n"
        << "A,.5,[BOX,ltshapes.shx,S=.25,A=90,X=.1],-.25\n"
        << "*ANGLES,Text turned in radians\n"
        << "A,1,[\"T\",Standard,R=1.5r,S=.2],-1\n";
    VxDbHostApplicationServices* services = vxdbHostApplicationServices();
    const std::vector<std::wstring> saved = services->supportPaths();
    services->setSupportPaths({vxFromPath(folder)});

    VxDbDatabase db;
    EXPECT_EQ(db.loadLineTypeFile(L"*", L"mixed.lin"), Velt::eOk);
    EXPECT_FALSE(db.linetypeId(L"LONG").isNull());
    EXPECT_TRUE(db.linetypeId(L"BROKEN").isNull());
    EXPECT_TRUE(db.linetypeId(L"TOO_MANY").isNull());
    {
        VxDbObjectPointer<VxDbLinetypeTableRecord> long_(db.linetypeId(L"LONG"), VxDb::kForRead);
        EXPECT_EQ(long_->numDashes(), 4);
        EXPECT_EQ(long_->patternLength(), 2.0);
    }
    {
        VxDbObjectPointer<VxDbLinetypeTableRecord> shaped(db.linetypeId(L"SHAPED"), VxDb::kForRead);
        ASSERT_EQ(shaped->numDashes(), 2);
        EXPECT_TRUE(shaped->shapeIsUcsOrientedAt(0));
        EXPECT_NEAR(shaped->shapeRotationAt(0), kHalfPi, 1e-12);
        EXPECT_EQ(shaped->shapeScaleAt(0), 0.25);
        // The shape file stands behind a nameless shape style.
        VxDbObjectPointer<VxDbTextStyleTableRecord> style(shaped->shapeStyleAt(0), VxDb::kForRead);
        ASSERT_TRUE(style);
        EXPECT_TRUE(style->isShapeFile());
        EXPECT_EQ(style->name(), L"");
        EXPECT_EQ(style->fileName(), L"ltshapes.shx");
    }
    VxDbObjectPointer<VxDbLinetypeTableRecord> turned(db.linetypeId(L"ANGLES"), VxDb::kForRead);
    EXPECT_NEAR(turned->shapeRotationAt(0), 1.5, 1e-12);
    EXPECT_FALSE(turned->shapeIsUcsOrientedAt(0));

    services->setSupportPaths(saved);
    fs::remove_all(folder);
}
