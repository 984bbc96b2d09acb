// The drawing-file reader against files that lie: counts that promise more
// than is there, handles that repeat or point nowhere, header variables out
// of range, binary files cut anywhere.

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <utility>

#include "db/polylines.h"
#include "dxf/dxfstream.h"
#include "dxf_test_util.h"

using namespace kx;
using namespace kx::dxftest;

namespace {

// Groups given as (code, value) pairs, written as ASCII lines.
using Groups = std::vector<std::pair<int, std::string>>;

std::string ascii(const Groups& groups)
{
    std::string out;
    for (const auto& [code, value] : groups)
        out += std::to_string(code) + "\n" + value + "\n";
    return out;
}

// A file with only an entities section holding the given groups.
std::string entitiesFile(const Groups& body, const Groups& header = {})
{
    Groups all;
    if (!header.empty()) {
        all.push_back({0, "SECTION"});
        all.push_back({2, "HEADER"});
        all.insert(all.end(), header.begin(), header.end());
        all.push_back({0, "ENDSEC"});
    }
    all.push_back({0, "SECTION"});
    all.push_back({2, "ENTITIES"});
    all.insert(all.end(), body.begin(), body.end());
    all.push_back({0, "ENDSEC"});
    all.push_back({0, "EOF"});
    return ascii(all);
}

Groups line(const std::string& handle, double x, const Groups& extra = {})
{
    Groups g = {{0, "LINE"}, {5, handle}};
    g.insert(g.end(), extra.begin(), extra.end());
    Groups tail = {{100, "AcDbEntity"}, {8, "0"}, {100, "AcDbLine"}, {10, std::to_string(x)}, {20, "0"}, {30, "0"},
                   {11, std::to_string(x + 1)}, {21, "1"}, {31, "0"}};
    g.insert(g.end(), tail.begin(), tail.end());
    return g;
}

Groups concat(std::initializer_list<Groups> parts)
{
    Groups all;
    for (const Groups& p : parts)
        all.insert(all.end(), p.begin(), p.end());
    return all;
}

std::vector<VxDbObjectId> modelEntities(VxDbDatabase& db)
{
    auto* ms = VxDbBlockTableRecord::cast(detail::objectOf(db.modelSpaceId()));
    return ms ? ms->entityIds() : std::vector<VxDbObjectId>();
}

// The same groups as a binary file of R2000 or later: two-byte codes, values
// stored as their kind says.
std::string toBinary(std::string_view text)
{
    std::string out("AutoCAD Binary DXF\r\n\x1a\0", 22);
    dxf::GroupReader in(text);
    while (in.next()) {
        const int code = in.code();
        out.push_back(char(code & 0xff));
        out.push_back(char((code >> 8) & 0xff));
        auto put = [&out](const void* p, size_t n) { out.append(static_cast<const char*>(p), n); };
        switch (dxf::valueKindOf(code)) {
        case dxf::ValueKind::kString:
        case dxf::ValueKind::kHandle:
            out += std::string(in.value());
            out.push_back('\0');
            break;
        case dxf::ValueKind::kDouble: {
            double v = 0;
            EXPECT_TRUE(in.toDouble(v)) << code;
            put(&v, 8);
            break;
        }
        case dxf::ValueKind::kInt16: {
            int64_t v = 0;
            EXPECT_TRUE(in.toInt(v)) << code;
            const int16_t s = int16_t(v);
            put(&s, 2);
            break;
        }
        case dxf::ValueKind::kInt32: {
            int64_t v = 0;
            EXPECT_TRUE(in.toInt(v)) << code;
            const int32_t s = int32_t(v);
            put(&s, 4);
            break;
        }
        case dxf::ValueKind::kInt64: {
            int64_t v = 0;
            EXPECT_TRUE(in.toInt(v)) << code;
            put(&v, 8);
            break;
        }
        case dxf::ValueKind::kBool: {
            int64_t v = 0;
            EXPECT_TRUE(in.toInt(v)) << code;
            out.push_back(char(v != 0));
            break;
        }
        case dxf::ValueKind::kBinary: {
            const std::string_view hex = in.trimmedValue();
            out.push_back(char(hex.size() / 2));
            for (size_t i = 0; i + 1 < hex.size(); i += 2)
                out.push_back(char(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16)));
            break;
        }
        }
    }
    EXPECT_FALSE(in.failed()) << in.message();
    return out;
}

}  // namespace

// A count in a file is a promise, not a size: an entity or record that
// claims a billion vertices, dashes or elements reads as what it really has.
TEST(DxfReader, CountsInTheFileAreNotTrusted)
{
    const std::string big = "1000000000";
    const Groups body = concat({
        {{0, "LWPOLYLINE"}, {5, "30"}, {100, "AcDbEntity"}, {8, "0"}, {100, "AcDbPolyline"}, {90, big}, {70, "0"},
         {10, "0"}, {20, "0"}, {10, "5"}, {20, "5"}},
        {{0, "POLYLINE"}, {5, "31"}, {100, "AcDbEntity"}, {8, "0"}, {100, "AcDbPolyFaceMesh"}, {66, "1"},
         {10, "0"}, {20, "0"}, {30, "0"}, {70, "64"}, {71, big}, {72, big}},
        {{0, "VERTEX"}, {5, "32"}, {100, "AcDbEntity"}, {8, "0"}, {100, "AcDbVertex"}, {10, "1"}, {20, "2"}, {30, "3"},
         {70, "192"}},
        {{0, "SEQEND"}, {5, "33"}, {100, "AcDbEntity"}, {8, "0"}},
        {{0, "SPLINE"}, {5, "34"}, {100, "AcDbEntity"}, {8, "0"}, {100, "AcDbSpline"}, {70, "8"}, {71, "3"},
         {72, big}, {73, big}, {74, big}, {40, "0"}, {40, "1"}, {10, "0"}, {20, "0"}, {30, "0"}},
        {{0, "HATCH"}, {5, "35"}, {100, "AcDbEntity"}, {8, "0"}, {100, "AcDbHatch"}, {2, "SOLID"}, {70, "1"},
         {71, "0"}, {91, big}, {92, "2"}, {72, "1"}, {73, "1"}, {93, big}, {10, "0"}, {20, "0"}, {97, big},
         {75, "0"}, {76, "1"}, {98, big}},
        {{0, "MTEXT"}, {5, "36"}, {100, "AcDbEntity"}, {8, "0"}, {100, "AcDbMText"}, {10, "0"}, {20, "0"},
         {40, "1"}, {1, "text"}, {73, big}},
        line("37", 0),
    });
    VxDbDxfReadInfo info;
    std::unique_ptr<VxDbDatabase> db = fromDxf(entitiesFile(body), &info);
    ASSERT_TRUE(db);
    EXPECT_EQ(modelEntities(*db).size(), 6u);  // the polyline carries its vertex along
    EXPECT_EQ(info.entities, 6u);
    EXPECT_GE(info.opaqueEntities, 4u);  // the lightweight polyline is modelled, its count ignored
    // Written again, what was there is there, the false counts as they were.
    const std::string again = toDxf(*db);
    EXPECT_NE(again.find("\n" + big + "\n"), std::string::npos);
    EXPECT_NE(again.find("AcDbPolyFaceMesh"), std::string::npos);
    EXPECT_TRUE(fromDxf(again));

    // A linetype that claims more dashes than it has, and one with more dash
    // lengths than the host keeps.
    Groups tables = {{0, "SECTION"}, {2, "TABLES"}, {0, "TABLE"}, {2, "LTYPE"}, {5, "5"}, {70, "2"},
                     {0, "LTYPE"}, {5, "40"}, {100, "AcDbSymbolTableRecord"}, {100, "AcDbLinetypeTableRecord"},
                     {2, "LIAR"}, {70, "0"}, {3, "lies"}, {72, "65"}, {73, big}, {40, "0.75"},
                     {49, "0.5"}, {74, "0"}, {49, "-0.25"}, {74, "0"},
                     {0, "LTYPE"}, {5, "41"}, {100, "AcDbSymbolTableRecord"}, {100, "AcDbLinetypeTableRecord"},
                     {2, "MANY"}, {70, "0"}, {3, "many"}, {72, "65"}, {73, "20"}, {40, "20"}};
    for (int i = 0; i < 20; ++i) {
        tables.push_back({49, i % 2 ? "-1" : "1"});
        tables.push_back({74, "0"});
    }
    Groups tail = {{0, "ENDTAB"}, {0, "ENDSEC"}, {0, "SECTION"}, {2, "OBJECTS"},
                   {0, "MLINESTYLE"}, {5, "50"}, {100, "AcDbMlineStyle"}, {2, "ODD"}, {70, "0"}, {3, ""},
                   {62, "256"}, {51, "90"}, {52, "90"}, {71, big}, {49, "0.5"}, {62, "1"}, {6, "BYLAYER"},
                   {0, "ENDSEC"}, {0, "EOF"}};
    tables.insert(tables.end(), tail.begin(), tail.end());
    db = fromDxf(ascii(tables), &info);
    ASSERT_TRUE(db);
    {
        VxDbObjectPointer<VxDbLinetypeTableRecord> liar(db->linetypeId(L"LIAR"));
        ASSERT_EQ(liar.openStatus(), Velt::eOk);
        EXPECT_EQ(liar->numDashes(), 2);
        EXPECT_DOUBLE_EQ(liar->dashLengthAt(1), -0.25);
        VxDbObjectPointer<VxDbLinetypeTableRecord> many(db->linetypeId(L"MANY"));
        ASSERT_EQ(many.openStatus(), Velt::eOk);
        EXPECT_EQ(many->numDashes(), VxDbLinetypeTableRecord::kMaxDashes);
    }
    EXPECT_FALSE(info.warnings.empty());
    EXPECT_TRUE(fromDxf(toDxf(*db)));
}

// Handles that repeat, owners and reactors that point nowhere, extension
// dictionaries that are not dictionaries: the drawing reads, every object
// keeps a handle of its own and no reference points at nothing.
TEST(DxfReader, HandlesOwnersAndReactorsThatDoNotAddUp)
{
    const Groups body = concat({
        line("2A", 0),
        line("2A", 10),  // the same handle again
        line("2B", 20, {{330, "FFFFF"}}),  // an owner that is not there
        line("2C", 30, {{102, "{ACAD_REACTORS"}, {330, "DEAD"}, {330, "2A"}, {102, "}"}}),
        line("2D", 40, {{102, "{ACAD_XDICTIONARY"}, {360, "2A"}, {102, "}"}}),  // not a dictionary
        line("0", 50),  // the null handle
        line("ZZ", 60),  // no handle at all
        line("2E", 70, {{102, "{ACAD_XDICTIONARY"}, {360, "BEEF"}, {102, "}"}}),  // a dictionary not there
    });
    VxDbDxfReadInfo info;
    std::unique_ptr<VxDbDatabase> db = fromDxf(entitiesFile(body), &info);
    ASSERT_TRUE(db);
    const std::vector<VxDbObjectId> ids = modelEntities(*db);
    ASSERT_EQ(ids.size(), 8u);
    EXPECT_GE(info.remappedHandles, 1u);
    std::vector<uint64_t> handles;
    for (VxDbObjectId id : ids) {
        VxDbObjectPointer<VxDbLine> line(id);
        ASSERT_EQ(line.openStatus(), Velt::eOk);
        EXPECT_EQ(line->ownerId(), db->modelSpaceId());
        EXPECT_FALSE(id.handle().isNull());
        EXPECT_LT(id.handle().value(), db->handseed().value());
        handles.push_back(id.handle().value());
        for (VxDbObjectId reactor : line->getPersistentReactors())
            EXPECT_TRUE(reactor.isValid());
        if (!line->extensionDictionary().isNull()) {
            VxDbObjectPointer<VxDbDictionary> xdict(line->extensionDictionary());
            EXPECT_EQ(xdict.openStatus(), Velt::eOk);
        }
    }
    std::sort(handles.begin(), handles.end());
    EXPECT_EQ(std::adjacent_find(handles.begin(), handles.end()), handles.end());
    // The first line with the repeated handle keeps it; the reactor to it holds.
    VxDbObjectId first;
    ASSERT_EQ(db->getVxDbObjectId(first, false, VxDbHandle(0x2A)), Velt::eOk);
    EXPECT_EQ(first, ids[0]);
    {
        // Which of the two a reference to the repeated handle means is a guess,
        // but it is one of them.
        VxDbObjectPointer<VxDbLine> withReactors(ids[3]);
        const VxDbObjectIdArray reactors = withReactors->getPersistentReactors();
        ASSERT_EQ(reactors.size(), 1u);
        EXPECT_TRUE(reactors[0] == ids[0] || reactors[0] == ids[1]);
        VxDbObjectPointer<VxDbLine> wrongDictionary(ids[4]);
        EXPECT_TRUE(wrongDictionary->extensionDictionary().isNull());
    }

    // The whole thing writes and reads again, and new objects get new handles.
    std::unique_ptr<VxDbDatabase> again = fromDxf(toDxf(*db));
    ASSERT_TRUE(again);
    EXPECT_EQ(modelEntities(*again).size(), 8u);
    const uint64_t seed = db->handseed().value();
    const VxDbObjectId added = append(*db, db->modelSpaceId(), new VxDbPoint({0, 0, 0}));
    EXPECT_GE(added.handle().value(), seed);
    EXPECT_EQ(std::find(handles.begin(), handles.end(), added.handle().value()), handles.end());
}

// Objects of the objects section that name each other wrongly: dictionary
// entries to entities or to missing objects, groups with members that are
// no entities, ownership that goes round.
TEST(DxfReader, ObjectsThatNameTheWrongThings)
{
    const std::string text = ascii(concat({
        {{0, "SECTION"}, {2, "ENTITIES"}},
        line("60", 0),
        {{0, "ENDSEC"}, {0, "SECTION"}, {2, "OBJECTS"}},
        {{0, "DICTIONARY"}, {5, "C"}, {330, "0"}, {100, "AcDbDictionary"}, {281, "1"}, {3, "ACAD_GROUP"},
         {350, "D"}, {3, "LOOPS"}, {350, "70"}, {3, "AN_ENTITY"}, {350, "60"}, {3, "NOTHING"}, {350, "FEED"},
         {3, "ITSELF"}, {350, "C"}},
        {{0, "DICTIONARY"}, {5, "D"}, {330, "C"}, {100, "AcDbDictionary"}, {281, "1"}, {3, "G1"}, {350, "80"}},
        // Two dictionaries that hold each other.
        {{0, "DICTIONARY"}, {5, "70"}, {330, "C"}, {100, "AcDbDictionary"}, {3, "INNER"}, {350, "71"}},
        {{0, "DICTIONARY"}, {5, "71"}, {330, "70"}, {100, "AcDbDictionary"}, {3, "OUTER"}, {350, "70"}},
        {{0, "GROUP"}, {5, "80"}, {330, "D"}, {100, "AcDbGroup"}, {300, "odd"}, {70, "0"}, {71, "1"},
         {340, "60"}, {340, "60"}, {340, "C"}, {340, "ABCD"}},
        {{0, "ENDSEC"}, {0, "EOF"}},
    }));
    VxDbDxfReadInfo info;
    std::unique_ptr<VxDbDatabase> db = fromDxf(text, &info);
    ASSERT_TRUE(db);
    EXPECT_FALSE(info.warnings.empty());
    {
        VxDbObjectPointer<VxDbDictionary> root(db->namedObjectsDictionaryId());
        ASSERT_EQ(root.openStatus(), Velt::eOk);
        EXPECT_FALSE(root->has(L"AN_ENTITY"));
        EXPECT_FALSE(root->has(L"NOTHING"));
        EXPECT_FALSE(root->has(L"ITSELF"));
        // Every entry's owner is the dictionary that holds it, and ownership
        // from any entry leads back to the root without going round.
        for (const auto& entry : root->entries()) {
            VxDbObject* value = detail::objectOf(entry.id);
            if (!value)
                continue;
            VxDbObjectId at = value->ownerId();
            int steps = 0;
            while (!at.isNull() && at != db->namedObjectsDictionaryId() && steps < 10) {
                at = detail::objectOf(at)->ownerId();
                ++steps;
            }
            EXPECT_EQ(at, db->namedObjectsDictionaryId()) << vxToUtf8(entry.key);
        }
    }
    {
        VxDbObjectPointer<VxDbDictionary> groups(db->groupDictionaryId());
        ASSERT_EQ(groups.openStatus(), Velt::eOk);
        VxDbObjectPointer<VxDbGroup> group(groups->getIdAt(L"G1"));
        ASSERT_EQ(group.openStatus(), Velt::eOk);
        EXPECT_EQ(group->numEntities(), 1);  // the line once; the dictionary and nothing left out
    }
    // Erasing every entry of the root and writing again neither loops nor loses the drawing.
    std::unique_ptr<VxDbDatabase> again = fromDxf(toDxf(*db));
    ASSERT_TRUE(again);
    EXPECT_EQ(modelEntities(*again).size(), 1u);
}

// Header variables: values out of range keep the default, references to
// records that are not there fall back, the handle seed never lies below a
// handle in use, and variables the host does not know travel along.
TEST(DxfReader, HeaderVariablesAreCheckedAsTheyAreRead)
{
    const Groups header = {{9, "$ACADVER"}, {1, "AC1032"},
                           {9, "$HANDSEED"}, {5, "10"},  // below the line's handle
                           {9, "$TEXTSIZE"}, {40, "-3"},
                           {9, "$LTSCALE"}, {40, "0"},
                           {9, "$INSUNITS"}, {70, "99"},
                           {9, "$CLAYER"}, {8, "NO SUCH LAYER"},
                           {9, "$CELTYPE"}, {6, "NO SUCH LINETYPE"},
                           {9, "$PDMODE"}, {70, "35"},
                           {9, "$LIMMAX"}, {10, "100"},  // y missing
                           {9, "$KXUNKNOWN"}, {1, "kept"},
                           {9, "$FILLMODE"}, {70, "0"},
                           {9, "$FILLMODE"}, {70, "1"}};  // again: the last one counts
    VxDbDxfReadInfo info;
    std::unique_ptr<VxDbDatabase> db = fromDxf(entitiesFile(line("400", 0), header), &info);
    ASSERT_TRUE(db);
    VxDbDatabase fresh;
    EXPECT_EQ(info.version, VxDbDxfVersion::kR2018);
    EXPECT_GT(db->handseed().value(), 0x400u);
    EXPECT_DOUBLE_EQ(db->textsize(), fresh.textsize());
    EXPECT_GT(db->ltscale(), 0.0);
    EXPECT_NE(db->insunits(), VxDb::UnitsValue(99));
    EXPECT_EQ(db->clayer(), db->layerZero());
    EXPECT_TRUE(db->celtype().isValid());
    EXPECT_TRUE(db->fillmode());
    EXPECT_DOUBLE_EQ(db->limmax().x, 100.0);
    const std::string again = toDxf(*db);
    EXPECT_NE(again.find("$KXUNKNOWN\n  1\nkept\n"), std::string::npos);
    // The header never ends up with the variable twice.
    EXPECT_EQ(again.find("$FILLMODE"), again.rfind("$FILLMODE"));
    EXPECT_EQ(again.find("$KXUNKNOWN"), again.rfind("$KXUNKNOWN"));

    // A header that ends the file, or a value without a name, fails.
    VxDbDatabase target(false, true);
    EXPECT_EQ(vxdbReadDxf(&target, ascii({{0, "SECTION"}, {2, "HEADER"}, {9, "$TEXTSIZE"}, {40, "1"}})),
              Velt::eEndOfFile);
    EXPECT_EQ(vxdbReadDxf(&target, ascii({{0, "SECTION"}, {2, "HEADER"}, {40, "1"}, {0, "ENDSEC"}, {0, "EOF"}})),
              Velt::eInvalidDxfCode);
    EXPECT_EQ(target.objectSlotCount(), 1u);
}

// The handle seed of a file far beyond its handles, up to the very last
// handle there is: the drawing reads, and objects added afterwards still
// get handles of their own.
TEST(DxfReader, HandleSeedAtTheEndOfTheRange)
{
    // An entity with the very last handle, in a file without tables: the
    // drawing is still completed with its standard contents.
    {
        std::unique_ptr<VxDbDatabase> db = fromDxf(entitiesFile(line("FFFFFFFFFFFFFFFF", 0)));
        ASSERT_TRUE(db);
        EXPECT_FALSE(db->layerZero().isNull());
        EXPECT_FALSE(db->modelSpaceId().isNull());
        EXPECT_EQ(modelEntities(*db).size(), 1u);
        EXPECT_TRUE(fromDxf(toDxf(*db)));
    }
    for (const char* seed : {"FFFFFFFF", "7FFFFFFFFFFFFFFF", "FFFFFFFFFFFFFFFE", "FFFFFFFFFFFFFFFF"}) {
        SCOPED_TRACE(seed);
        std::unique_ptr<VxDbDatabase> db = fromDxf(entitiesFile(line("40", 0), {{9, "$HANDSEED"}, {5, seed}}));
        ASSERT_TRUE(db);
        std::vector<uint64_t> handles;
        for (int i = 0; i < 3; ++i) {
            auto* point = new VxDbPoint({double(i), 0, 0});
            VxDbObjectPointer<VxDbBlockTableRecord> ms(db->modelSpaceId(), VxDb::kForWrite);
            VxDbObjectId id;
            if (ms->appendVxDbEntity(id, point) != Velt::eOk) {
                delete point;
                continue;
            }
            point->close();
            EXPECT_FALSE(id.handle().isNull());
            handles.push_back(id.handle().value());
        }
        std::sort(handles.begin(), handles.end());
        EXPECT_EQ(std::adjacent_find(handles.begin(), handles.end()), handles.end());
        EXPECT_EQ(std::count(handles.begin(), handles.end(), 0x40u), 0);
        // What was written reads again.
        EXPECT_TRUE(fromDxf(toDxf(*db)));
    }
}

// Groups that cannot be: codes beyond the range or negative, numbers where
// numbers belong that are none, in every section.
TEST(DxfReader, GroupsThatCannotBeFailAndChangeNothing)
{
    struct Case {
        const char* name;
        std::string text;
        Velt::ErrorStatus status;
    };
    const Case cases[] = {
        {"negative code", entitiesFile(concat({line("30", 0), {{-5, "x"}}})), Velt::eInvalidDxfCode},
        {"code beyond the range", entitiesFile(concat({line("30", 0), {{1072, "x"}}})), Velt::eInvalidDxfCode},
        {"a huge code", entitiesFile(concat({line("30", 0), {{2147483647, "x"}}})), Velt::eInvalidDxfCode},
        {"text for a real", entitiesFile({{0, "LINE"}, {5, "30"}, {8, "0"}, {10, "one"}}), Velt::eInvalidDxfCode},
        {"text for an integer", entitiesFile({{0, "CIRCLE"}, {5, "30"}, {8, "0"}, {62, "red"}}),
         Velt::eInvalidDxfCode},
        {"a real that overflows", entitiesFile({{0, "LINE"}, {5, "30"}, {8, "0"}, {10, "1e999"}}),
         Velt::eInvalidDxfCode},
        {"not a number", entitiesFile({{0, "LINE"}, {5, "30"}, {8, "0"}, {10, "nan"}}), Velt::eInvalidDxfCode},
        {"a code line with a fraction", ascii({{0, "SECTION"}, {2, "ENTITIES"}}) + "0.5\nLINE\n", Velt::eInvalidDxfCode},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        VxDbDatabase db(false, true);
        VxDbDxfReadInfo info;
        EXPECT_EQ(vxdbReadDxf(&db, c.text, &info), c.status) << info.message;
        EXPECT_FALSE(info.message.empty());
        EXPECT_GT(info.position, 0u);
        EXPECT_EQ(db.objectSlotCount(), 1u);
        EXPECT_EQ(db.handseed().value(), 1u);
    }
}

// A binary file holds the same drawing as its ASCII form; cut anywhere it
// fails cleanly or reads what was whole, and damaged values are refused.
TEST(DxfReader, BinaryFilesReadTheSameAndFailCleanly)
{
    VxDbDatabase source;
    const Sample s = buildSample(source);
    const std::string text = toDxf(source);
    const std::string binary = toBinary(text);
    ASSERT_GT(binary.size(), 1000u);

    VxDbDxfReadInfo info;
    std::unique_ptr<VxDbDatabase> db = fromDxf(binary, &info);
    ASSERT_TRUE(db);
    EXPECT_TRUE(info.binary);
    EXPECT_EQ(info.version, VxDbDxfVersion::kR2018);
    // The same drawing as the ASCII file gives, to the last digit.
    std::unique_ptr<VxDbDatabase> fromText = fromDxf(text);
    ASSERT_TRUE(fromText);
    EXPECT_TRUE(toDxf(*db) == toDxf(*fromText)) << "the binary file reads differently";
    {
        VxDbObjectPointer<VxDbLine> line(s.line);
        VxDbObjectId id;
        ASSERT_EQ(db->getVxDbObjectId(id, false, s.line.handle()), Velt::eOk);
        VxDbObjectPointer<VxDbLine> read(id);
        ASSERT_EQ(read.openStatus(), Velt::eOk);
        EXPECT_EQ(read->startPoint(), line->startPoint());
    }

    // Cut at many places: a clean failure that adds nothing, or a read.
    size_t failures = 0;
    const size_t step = std::max<size_t>(1, binary.size() / 400);
    for (size_t at = 0; at < binary.size(); at += step) {
        VxDbDatabase target(false, true);
        VxDbDxfReadInfo cut;
        const Velt::ErrorStatus es = vxdbReadDxf(&target, std::string_view(binary).substr(0, at), &cut);
        if (es == Velt::eOk)
            continue;
        ++failures;
        EXPECT_TRUE(es == Velt::eEndOfFile || es == Velt::eBadFileFormat || es == Velt::eInvalidDxfCode)
            << Velt::statusName(es) << " at " << at;
        EXPECT_EQ(target.objectSlotCount(), 1u) << at;
        if (es == Velt::eEndOfFile) {
            EXPECT_LE(cut.position, at);
        }
    }
    EXPECT_GT(failures, 350u);

    // A real that is no number, and a code beyond the range.
    const size_t lineAt = binary.find(std::string("LINE\0", 5), binary.find(std::string("ENTITIES\0", 9)));
    ASSERT_NE(lineAt, std::string::npos);
    const size_t tenAt = binary.find(std::string("\x0a\x00", 2), lineAt);
    ASSERT_NE(tenAt, std::string::npos);
    std::string nan = binary;
    const double quiet = std::numeric_limits<double>::quiet_NaN();
    std::memcpy(nan.data() + tenAt + 2, &quiet, 8);
    std::string badCode = binary;
    badCode[tenAt] = char(0x50);
    badCode[tenAt + 1] = char(0x04);  // 1104
    std::string negative = binary;
    negative[tenAt + 1] = char(0xff);
    for (const std::string* damaged : {&nan, &badCode, &negative}) {
        VxDbDatabase target(false, true);
        VxDbDxfReadInfo bad;
        EXPECT_EQ(vxdbReadDxf(&target, *damaged, &bad), Velt::eInvalidDxfCode);
        EXPECT_EQ(bad.position, tenAt);
        EXPECT_EQ(target.objectSlotCount(), 1u);
    }
    // Only the sentinel, or the sentinel cut short.
    VxDbDatabase target(false, true);
    EXPECT_EQ(vxdbReadDxf(&target, binary.substr(0, 22)), Velt::eBadFileFormat);
    EXPECT_NE(vxdbReadDxf(&target, binary.substr(0, 21)), Velt::eOk);
    EXPECT_EQ(target.objectSlotCount(), 1u);
}

// Polylines of R12 files: no markers, no handles; 2D and 3D polylines become the host's, with
// their vertices and their data; a vertex the 2D kind does not hold stays as read.
TEST(DxfReader, PolylinesOfOldFiles)
{
    const Groups body = {
        {0, "POLYLINE"}, {8, "WALLS"}, {66, "1"}, {10, "0"}, {20, "0"}, {30, "1.5"}, {70, "1"}, {71, "0"},
        {0, "VERTEX"}, {8, "WALLS"}, {10, "0"}, {20, "0"}, {30, "1.5"}, {42, "1"},
        {0, "VERTEX"}, {8, "WALLS"}, {10, "2"}, {20, "0"}, {30, "1.5"}, {40, "0.5"}, {41, "0.25"},
        {0, "VERTEX"}, {8, "WALLS"}, {10, "2"}, {20, "2"}, {30, "1.5"},
        {0, "SEQEND"}, {8, "WALLS"},
        {0, "POLYLINE"}, {8, "0"}, {66, "1"}, {10, "0"}, {20, "0"}, {30, "0"}, {70, "8"},
        {0, "VERTEX"}, {8, "0"}, {10, "1"}, {20, "2"}, {30, "3"}, {70, "32"},
        {0, "SEQEND"}, {8, "0"},
        {0, "POLYLINE"}, {8, "0"}, {66, "1"}, {10, "0"}, {20, "0"}, {30, "0"}, {70, "0"},
        {0, "VERTEX"}, {8, "0"}, {10, "1"}, {20, "2"}, {30, "0"}, {1, "strange"},
        {0, "SEQEND"}, {8, "0"},
    };
    VxDbDxfReadInfo info;
    std::unique_ptr<VxDbDatabase> db = fromDxf(entitiesFile(body, {{9, "$ACADVER"}, {1, "AC1009"}}), &info);
    ASSERT_TRUE(db);
    const std::vector<VxDbObjectId> ids = modelEntities(*db);
    ASSERT_EQ(ids.size(), 3u);
    EXPECT_EQ(info.opaqueEntities, 1u);
    auto* poly3d = VxDb3dPolyline::cast(detail::objectOf(ids[1]));
    ASSERT_NE(poly3d, nullptr);
    EXPECT_EQ(poly3d->controlPoints(), (std::vector<VxGePoint3d>{{1, 2, 3}}));
    auto* poly = VxDb2dPolyline::cast(detail::objectOf(ids[0]));
    ASSERT_NE(poly, nullptr);
    EXPECT_TRUE(poly->isClosed());
    EXPECT_DOUBLE_EQ(poly->elevation(), 1.5);
    ASSERT_EQ(poly->vertexCount(), 3);
    double bulge = 0, start = 0, end = 0;
    poly->getBulgeAt(0, bulge);
    poly->getWidthsAt(1, start, end);
    EXPECT_EQ(bulge, 1.0);
    EXPECT_EQ(start, 0.5);
    EXPECT_EQ(end, 0.25);
    double area = 0;
    poly->getArea(area);
    EXPECT_NEAR(area, 2.0 + kPi / 2, 1e-12);

    // Written again: the kept ones as they were, the 2D polyline with its vertices.
    const std::string again = toDxf(*db);
    EXPECT_NE(again.find("strange"), std::string::npos);
    VxDbDxfReadInfo info2;
    std::unique_ptr<VxDbDatabase> back = fromDxf(again, &info2);
    ASSERT_TRUE(back);
    EXPECT_EQ(info2.opaqueEntities, 1u);
    const std::vector<VxDbObjectId> backIds = modelEntities(*back);
    ASSERT_EQ(backIds.size(), 3u);
    auto* read = VxDb2dPolyline::cast(detail::objectOf(backIds[0]));
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->controlPoints(), poly->controlPoints());
}

// Each entity's common properties are gathered from wherever its record puts them (some
// writers put them after the kind's own marker, some repeat them) and set at once: nothing
// carries over from the entity before, refused values leave their default, and entities
// that agree share one record however many there are.
TEST(DxfReader, CommonPropertiesAreEachEntitysOwn)
{
    const Groups odd = {{0, "LINE"}, {5, "30"}, {100, "AcDbEntity"}, {8, "Walls"}, {62, "2"},
                        {100, "AcDbLine"}, {10, "1"}, {20, "2"}, {30, "0"}, {11, "4"}, {21, "6"}, {31, "0"},
                        {62, "1"}, {370, "50"}, {48, "2.5"}, {60, "1"}, {440, "33554457"}, {6, "Continuous"},
                        {10, "1.5"}};  // the last of a repeated group holds
    const Groups refused = {{0, "LINE"}, {5, "31"}, {100, "AcDbEntity"}, {8, "Walls"}, {62, "300"},
                            {370, "7"}, {48, "-1"}, {440, "117440512"}, {100, "AcDbLine"}, {10, "0"},
                            {20, "0"}, {30, "0"}, {11, "1"}, {21, "1"}, {31, "0"}};
    const Groups unknown = {{0, "LINE"}, {5, "32"}, {100, "AcDbEntity"}, {8, "0"}, {62, "3"}, {100, "AcDbLine"},
                            {10, "0"}, {20, "0"}, {30, "0"}, {1, "not a line's"}, {11, "1"}, {21, "1"}, {31, "0"}};
    const Groups extended = concat({line("33", 7), {{1001, "ACAD"}, {1000, "kept along"}}});
    Groups body = concat({odd, line("34", 0), refused, unknown, extended});
    for (int i = 0; i < 200; ++i) {
        char handle[16];
        std::snprintf(handle, sizeof handle, "%X", 0x100 + i);
        body = concat({body, line(handle, i)});
    }
    const size_t recordsBefore = detail::entityStyleCount();
    VxDbDxfReadInfo info;
    std::unique_ptr<VxDbDatabase> db = fromDxf(entitiesFile(body), &info);
    ASSERT_TRUE(db);
    const std::vector<VxDbObjectId> ids = modelEntities(*db);
    ASSERT_EQ(ids.size(), 205u);
    // The two hundred plain lines and the others: a handful of records, not one an entity.
    EXPECT_LE(detail::entityStyleCount(), recordsBefore + 6);
    {
        VxDbObjectPointer<VxDbLine> first(ids[0]);
        ASSERT_EQ(first.openStatus(), Velt::eOk);
        EXPECT_EQ(first->layer(), L"Walls");
        EXPECT_EQ(first->colorIndex(), 1);
        EXPECT_EQ(first->lineWeight(), VxDb::kLnWt050);
        EXPECT_EQ(first->linetypeScale(), 2.5);
        EXPECT_EQ(first->visibility(), VxDb::kInvisible);
        EXPECT_EQ(first->transparency().alpha(), 25);
        EXPECT_EQ(first->startPoint().x, 1.5);
        EXPECT_EQ(first->endPoint().y, 6.0);

        VxDbObjectPointer<VxDbLine> plain(ids[1]);
        ASSERT_EQ(plain.openStatus(), Velt::eOk);
        EXPECT_EQ(plain->layer(), L"0");
        EXPECT_EQ(plain->colorIndex(), 256);
        EXPECT_EQ(plain->lineWeight(), VxDb::kLnWtByLayer);
        EXPECT_EQ(plain->linetypeScale(), 1.0);
        EXPECT_EQ(plain->visibility(), VxDb::kVisible);
        EXPECT_TRUE(plain->transparency().isByLayer());

        VxDbObjectPointer<VxDbLine> spoiled(ids[2]);
        ASSERT_EQ(spoiled.openStatus(), Velt::eOk);
        EXPECT_EQ(spoiled->layer(), L"Walls");
        EXPECT_EQ(spoiled->colorIndex(), 256);
        EXPECT_EQ(spoiled->lineWeight(), VxDb::kLnWtByLayer);
        EXPECT_EQ(spoiled->linetypeScale(), 1.0);
        EXPECT_TRUE(spoiled->transparency().isByLayer());

        // A group a line does not hold keeps the record as it is, its colour taken all the same.
        VxDbObjectPointer<VxDbEntity> kept(ids[3]);
        ASSERT_EQ(kept.openStatus(), Velt::eOk);
        EXPECT_TRUE(VxDbDxfOpaqueEntity::cast(kept.get()));
        EXPECT_EQ(kept->colorIndex(), 3);

        VxDbObjectPointer<VxDbLine> last(ids.back());
        ASSERT_EQ(last.openStatus(), Velt::eOk);
        EXPECT_EQ(last->colorIndex(), 256);
        EXPECT_EQ(last->startPoint().x, 199.0);
    }
    // Written again: the kept group and the extended data travel along, and the entities read
    // and write the same once more.
    auto entitiesOf = [](const std::string& text) {
        const size_t begin = text.find("ENTITIES\n");
        return text.substr(begin, text.find("ENDSEC\n", begin) - begin);
    };
    const std::string again = toDxf(*db);
    EXPECT_NE(again.find("\n  1\nnot a line's\n"), std::string::npos);
    EXPECT_NE(again.find("\n1000\nkept along\n"), std::string::npos);
    std::unique_ptr<VxDbDatabase> reread = fromDxf(again);
    ASSERT_TRUE(reread);
    EXPECT_EQ(entitiesOf(toDxf(*reread)), entitiesOf(again));
}
