// Extended data and extended records through drawing files: what the host
// refuses is left out without taking good data along, limits hold for data
// read as for data set, and every kind of item survives a round trip.

#include "dxf_test_util.h"

using namespace kx;
using namespace kx::dxftest;

namespace {

std::string lineWithXData(const std::string& xdata, const std::string& apps = "KXGOOD")
{
    std::string text = "0\nSECTION\n2\nTABLES\n0\nTABLE\n2\nAPPID\n5\n9\n70\n2\n";
    int handle = 0x20;
    std::string rest = apps;
    while (!rest.empty()) {
        const size_t comma = rest.find(',');
        const std::string app = rest.substr(0, comma);
        rest = comma == std::string::npos ? "" : rest.substr(comma + 1);
        char buffer[16];
        std::snprintf(buffer, sizeof buffer, "%X", handle++);
        text += "0\nAPPID\n5\n" + std::string(buffer) + "\n100\nAcDbSymbolTableRecord\n100\nAcDbRegAppTableRecord\n2\n" +
                app + "\n70\n0\n";
    }
    text += "0\nENDTAB\n0\nENDSEC\n0\nSECTION\n2\nENTITIES\n"
            "0\nLINE\n5\n40\n100\nAcDbEntity\n8\n0\n100\nAcDbLine\n10\n0\n20\n0\n30\n0\n11\n1\n21\n1\n31\n0\n" +
            xdata + "0\nENDSEC\n0\nEOF\n";
    return text;
}

VxResBufPtr xdataOfLine(VxDbDatabase& db, const wchar_t* app = nullptr)
{
    VxDbObjectId id;
    EXPECT_EQ(db.getVxDbObjectId(id, false, VxDbHandle(0x40)), Velt::eOk);
    VxDbObjectPointer<VxDbLine> line(id);
    EXPECT_EQ(line.openStatus(), Velt::eOk);
    return VxResBufPtr(line ? line->xData(app) : nullptr);
}

size_t itemsOf(const VxResBuf* rb)
{
    size_t n = 0;
    for (; rb; rb = rb->rbnext)
        ++n;
    return n;
}

}  // namespace

// One application's broken data is left out; the others' stays. Data of an
// application the file did not register is kept, the application registered.
TEST(DxfXData, BrokenGroupsAreLeftOutAlone)
{
    const std::string good = "1001\nKXGOOD\n1000\nkept\n1070\n5\n";
    struct Case {
        const char* name;
        std::string bad;
    };
    for (bool goodFirst : {true, false}) {
        std::unique_ptr<VxDbDatabase> db =
            fromDxf(lineWithXData(goodFirst ? good + "1001\nKXNOBODY\n1000\nfound\n" : "1001\nKXNOBODY\n1000\nfound\n" + good));
        ASSERT_TRUE(db);
        EXPECT_EQ(itemsOf(xdataOfLine(*db, L"KXGOOD").get()), 3u);
        VxResBufPtr other = xdataOfLine(*db, L"KXNOBODY");
        ASSERT_EQ(itemsOf(other.get()), 2u);
        EXPECT_STREQ(other->rbnext->resval.rstring, L"found");
        VxDbObjectPointer<VxDbSymbolTable> apps(db->regAppTableId());
        EXPECT_TRUE(apps->has(L"kxnobody"));
        // and the drawing written again names it.
        EXPECT_NE(toDxf(*db).find("AcDbRegAppTableRecord\n  2\nKXNOBODY\n"), std::string::npos);
    }
    const Case cases[] = {
        {"a brace that is never closed", "1001\nKXOTHER\n1002\n{\n1000\nx\n"},
        {"a closing brace first", "1001\nKXOTHER\n1002\n}\n1000\nx\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        for (bool goodFirst : {true, false}) {
            VxDbDxfReadInfo info;
            std::unique_ptr<VxDbDatabase> db =
                fromDxf(lineWithXData(goodFirst ? good + c.bad : c.bad + good, "KXGOOD,KXOTHER"), &info);
            ASSERT_TRUE(db);
            VxResBufPtr kept = xdataOfLine(*db, L"KXGOOD");
            ASSERT_NE(kept, nullptr) << "good data lost with the bad";
            EXPECT_EQ(itemsOf(kept.get()), 3u);
            EXPECT_STREQ(kept->rbnext->resval.rstring, L"kept");
            EXPECT_EQ(xdataOfLine(*db, L"KXOTHER"), nullptr);
            EXPECT_FALSE(info.warnings.empty());
        }
    }
}

// Data beyond the size limit is not taken from a file either, and the
// entity carrying it still reads.
TEST(DxfXData, TheSizeLimitHoldsForDataRead)
{
    std::string big = "1001\nKXGOOD\n";
    const std::string item(200, 'x');
    for (int i = 0; i < 120; ++i)
        big += "1000\n" + item + "\n";  // some 24 kB
    VxDbDxfReadInfo info;
    std::unique_ptr<VxDbDatabase> db = fromDxf(lineWithXData(big), &info);
    ASSERT_TRUE(db);
    EXPECT_EQ(xdataOfLine(*db), nullptr);
    EXPECT_FALSE(info.warnings.empty());

    // Just under the limit it is all there, and writes out whole.
    std::string fits = "1001\nKXGOOD\n";
    for (int i = 0; i < 60; ++i)
        fits += "1000\n" + item + "\n";
    db = fromDxf(lineWithXData(fits));
    ASSERT_TRUE(db);
    VxResBufPtr read = xdataOfLine(*db);
    EXPECT_EQ(itemsOf(read.get()), 61u);
    std::unique_ptr<VxDbDatabase> again = fromDxf(toDxf(*db));
    ASSERT_TRUE(again);
    EXPECT_TRUE(vxutChainsEqual(xdataOfLine(*again).get(), read.get()));
}

// Every kind of item keeps its code and value through a file of every
// version: points of every kind, distances, scale factors, handles, binary
// chunks, integers at their limits, nested lists, text beyond ASCII.
TEST(DxfXData, EveryKindOfItemRoundTrips)
{
    VxDbDatabase db;
    ASSERT_EQ(vxdbRegApp(L"KXALL", &db), Velt::eOk);
    const VxDbObjectId target = append(db, db.modelSpaceId(), new VxDbCircle({0, 0, 0}, VxGeVector3d{0, 0, 1}, 1.0));
    const VxDbObjectId id = append(db, db.modelSpaceId(), new VxDbLine({0, 0, 0}, {1, 0, 0}));
    VxResBuf* binary = vxutNewRb(1004);
    const uint8_t bytes[] = {0x00, 0xFF, 0x10, 0x7F, 0x80};
    vxutSetBinary(binary, bytes, sizeof bytes);
    VxResBufPtr xdata = vxutChain({vxutNewString(1001, L"KXALL"), vxutNewString(1000, L"ünïcödé ∑ 😀"),
                                   vxutNewString(1000, L""), vxutNewString(1003, L"0"),
                                   vxutNewString(1005, target.handle().toString()), binary,
                                   vxutNewPoint(1010, 1.5, -2.5, 1e-300), vxutNewPoint(1011, 1, 2, 3),
                                   vxutNewPoint(1012, 0.1, 0.2, 0.3), vxutNewPoint(1013, 0, 0, 1),
                                   vxutNewReal(1040, -1e300), vxutNewReal(1041, 2.5), vxutNewReal(1042, 0.75),
                                   vxutNewInt16(1070, -32768), vxutNewInt16(1070, 32767),
                                   vxutNewInt32(1071, -2147483647 - 1), vxutNewInt32(1071, 2147483647),
                                   vxutNewString(1002, L"{"), vxutNewString(1002, L"{"), vxutNewString(1000, L"deep"),
                                   vxutNewString(1002, L"}"), vxutNewString(1002, L"}")});
    {
        VxDbObjectPointer<VxDbLine> line(id, VxDb::kForWrite);
        ASSERT_EQ(line->setXData(xdata.get()), Velt::eOk);
    }
    for (VxDbDxfVersion version : {VxDbDxfVersion::kR2000, VxDbDxfVersion::kR2004, VxDbDxfVersion::kR2007,
                                   VxDbDxfVersion::kR2018}) {
        SCOPED_TRACE(vxdbDxfVersionName(version));
        std::unique_ptr<VxDbDatabase> read = fromDxf(toDxf(db, version));
        ASSERT_TRUE(read);
        VxDbObjectId copy;
        ASSERT_EQ(read->getVxDbObjectId(copy, false, id.handle()), Velt::eOk);
        VxDbObjectPointer<VxDbLine> line(copy);
        VxResBufPtr back(line->xData(L"KXALL"));
        ASSERT_NE(back, nullptr);
        const VxResBuf* a = xdata.get();
        const VxResBuf* b = back.get();
        for (; a && b; a = a->rbnext, b = b->rbnext) {
            ASSERT_EQ(a->restype, b->restype);
            EXPECT_TRUE(vxutChainsEqual(VxResBufPtr(vxutDupRange(a, a->rbnext)).get(),
                                        VxResBufPtr(vxutDupRange(b, b->rbnext)).get()))
                << "code " << a->restype;
        }
        EXPECT_EQ(a, nullptr);
        EXPECT_EQ(b, nullptr);
    }
}

// Extended records keep items of every group-code class, and a file's
// values that do not fit a class are not taken as something else.
TEST(DxfXData, XrecordsKeepEveryClassOfGroup)
{
    VxDbDatabase db;
    const VxDbObjectId line = append(db, db.modelSpaceId(), new VxDbLine({0, 0, 0}, {1, 0, 0}));
    VxResBuf* ref = vxutNewRb(330);
    ref->resval.rlname[0] = line.asOldId();
    VxResBuf* chunk = vxutNewRb(310);
    const uint8_t bytes[] = {1, 2, 3, 0xAB};
    vxutSetBinary(chunk, bytes, sizeof bytes);
    VxResBufPtr data = vxutChain({vxutNewString(1, L"text"), vxutNewString(2, L"name"), vxutNewPoint(10, 1, 2, 3),
                                  vxutNewReal(40, 0.125), vxutNewInt16(70, -5), vxutNewInt32(90, 123456789),
                                  vxutNewInt64(160, int64_t(1) << 40), vxutNewInt16(280, 7), vxutNewInt16(290, 1),
                                  vxutNewString(300, L"more"), chunk, ref});
    VxDbObjectId xrecordId;
    {
        VxDbObjectPointer<VxDbDictionary> root(db.namedObjectsDictionaryId(), VxDb::kForWrite);
        VxDbObjectPointer<VxDbXrecord> xrecord(new VxDbXrecord());
        ASSERT_EQ(xrecord->setFromRbChain(data.get()), Velt::eOk);
        ASSERT_EQ(root->setAt(L"KX_CLASSES", xrecord.get(), xrecordId), Velt::eOk);
    }
    std::unique_ptr<VxDbDatabase> read = fromDxf(toDxf(db));
    ASSERT_TRUE(read);
    VxDbObjectId copy;
    ASSERT_EQ(read->getVxDbObjectId(copy, false, xrecordId.handle()), Velt::eOk);
    VxDbObjectPointer<VxDbXrecord> xrecord(copy);
    ASSERT_EQ(xrecord.openStatus(), Velt::eOk);
    VxResBuf* chain = nullptr;
    ASSERT_EQ(xrecord->rbChain(chain), Velt::eOk);
    VxResBufPtr owned(chain);
    const VxResBuf* a = data.get();
    const VxResBuf* b = chain;
    for (; a && b; a = a->rbnext, b = b->rbnext) {
        ASSERT_EQ(a->restype, b->restype);
        if (a->restype == 330) {
            VxDbObjectId lineCopy;
            ASSERT_EQ(read->getVxDbObjectId(lineCopy, false, line.handle()), Velt::eOk);
            EXPECT_EQ(b->resval.rlname[0], lineCopy.asOldId());
        } else {
            EXPECT_TRUE(vxutChainsEqual(VxResBufPtr(vxutDupRange(a, a->rbnext)).get(),
                                        VxResBufPtr(vxutDupRange(b, b->rbnext)).get()))
                << "code " << a->restype;
        }
    }
    EXPECT_EQ(a, nullptr);
    EXPECT_EQ(b, nullptr);
}
