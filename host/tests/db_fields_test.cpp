// Every described kind, walked field by field from its description: values that pass the
// field's check are kept, copied, written and read back; values it refuses change nothing.
#include <gtest/gtest.h>

#include <cmath>
#include <bit>
#include <limits>
#include <memory>
#include <random>
#include <string>

#include "db/blocks.h"
#include "db/database.h"
#include "db/entities.h"
#include "db/fields.h"
#include "db/internal.h"
#include "dxf/dxffields.h"
#include "dxf/dxfstream.h"
#include "dxf_test_util.h"

namespace kx {
namespace {

using dxftest::fromDxf;
using dxftest::toDxf;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// Every class with a description that a file can name, made fresh.
std::vector<const VxRxClass*> describedClasses()
{
    std::vector<const VxRxClass*> out;
    VxRxDictionary* dictionary = vxrxClassDictionary();
    for (const std::wstring& key : dictionary->keys()) {
        const VxRxClass* cls = VxRxClass::cast(dictionary->at(key.c_str()));
        if (!cls || !cls->kind() || !*cls->dxfName())
            continue;
        std::unique_ptr<VxRxObject> probe(cls->create());
        // Kinds that insert a block need one of a drawing: their own tests have it.
        bool needsBlock = false;
        for (const VxDbField* field : cls->kind()->fields())
            needsBlock = needsBlock || (field->flags & kxdxf::kBlockName);
        if (probe && !needsBlock)
            out.push_back(cls);
    }
    return out;
}

std::string nameOf(const VxRxClass* cls) { return vxToUtf8(cls->name()); }

// Values other than the defaults, tried in turn until the field takes one. The second
// vector of a kind is square to the first (an ellipse's axis and normal).
std::vector<VxDbFieldValue> candidates(const VxDbFieldValue& like, int vectorOrdinal)
{
    return std::visit(
        [&](const auto& v) -> std::vector<VxDbFieldValue> {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, double>)
                return {0.375, 2.5, 1.0 / 3.0};
            else if constexpr (std::is_same_v<T, int16_t>)
                return {int16_t(5), int16_t(1), int16_t(2)};
            else if constexpr (std::is_same_v<T, int32_t>)
                return {int32_t(7), int32_t(1)};
            else if constexpr (std::is_same_v<T, bool>)
                return {!v};
            else if constexpr (std::is_same_v<T, VxGePoint3d>)
                return {VxGePoint3d{1.5, -2.25, 3.125}};
            else if constexpr (std::is_same_v<T, VxGeVector3d>)
                return {vectorOrdinal == 0 ? VxGeVector3d{0.0, 1.6, -1.2} : VxGeVector3d{0.0, 0.6, 0.8}};
            else if constexpr (std::is_same_v<T, VxDbObjectId>)
                return {v};  // records come with a drawing
            else
                return {std::wstring(L"Fläche ⌀ 5")};
        },
        like);
}

bool near(const VxDbFieldValue& a, const VxDbFieldValue& b)
{
    if (a.index() != b.index())
        return false;
    auto close = [](double x, double y) { return std::fabs(x - y) <= 1e-9 * std::max(1.0, std::fabs(x)); };
    if (auto* x = std::get_if<double>(&a))
        return close(*x, std::get<double>(b));
    if (auto* x = std::get_if<VxGePoint3d>(&a)) {
        const auto& y = std::get<VxGePoint3d>(b);
        return close(x->x, y.x) && close(x->y, y.y) && close(x->z, y.z);
    }
    if (auto* x = std::get_if<VxGeVector3d>(&a)) {
        const auto& y = std::get<VxGeVector3d>(b);
        return close(x->x, y.x) && close(x->y, y.y) && close(x->z, y.z);
    }
    return vxdbSameFieldValue(a, b);
}

std::vector<VxDbFieldValue> notFinite(const VxDbFieldValue& like)
{
    if (std::holds_alternative<double>(like))
        return {kNaN, kInf, -kInf};
    if (std::holds_alternative<VxGePoint3d>(like))
        return {VxGePoint3d{kNaN, 0, 0}, VxGePoint3d{0, 0, kInf}};
    if (std::holds_alternative<VxGeVector3d>(like))
        return {VxGeVector3d{kNaN, 0, 1}, VxGeVector3d{0, -kInf, 0}};
    return {};
}

// Sets every field of a new object to a value of its own; the values it took, in order.
std::unique_ptr<VxDbEntity> filled(const VxRxClass* cls, std::vector<VxDbFieldValue>& taken)
{
    std::unique_ptr<VxDbEntity> entity(VxDbEntity::cast(cls->create()));
    const VxDbKind& kind = *vxdbKindOf(cls);
    int vectors = 0;
    for (const VxDbField* field : kind.fields()) {
        bool set = false;
        const int ordinal = std::holds_alternative<VxGeVector3d>(field->defaultValue) ? vectors++ : 0;
        for (const VxDbFieldValue& value : candidates(field->defaultValue, ordinal)) {
            if (field->set(*entity, value) == Velt::eOk) {
                set = true;
                break;
            }
        }
        EXPECT_TRUE(set) << nameOf(cls) << "." << field->name << " takes none of the sample values";
    }
    EXPECT_EQ(kind.checkRead(*entity, ~uint64_t(0)), Velt::eOk) << nameOf(cls) << " is not whole";
    for (const VxDbField* field : kind.fields())
        taken.push_back(field->get(*entity));
    return entity;
}

TEST(DbFields, EveryKindIsDescribedOnceAndCompletely)
{
    const auto classes = describedClasses();
    std::set<std::string> names;
    for (const VxRxClass* cls : classes)
        names.insert(nameOf(cls));
    for (const char* expected : {"KxDbLine", "KxDbCircle", "KxDbArc", "KxDbEllipse", "KxDbPoint", "KxDbRay",
                                 "KxDbXline", "KxDbFace", "KxDbSolid", "KxDbTrace", "KxDbText", "KxDbMText",
                                 "KxDbAttributeDefinition", "KxDbAttribute", "KxDbShape", "KxDbFcf"})
        EXPECT_TRUE(names.count(expected)) << expected;
    for (const VxRxClass* cls : classes) {
        const VxDbKind& kind = *vxdbKindOf(cls);
        ASSERT_TRUE(kind.subclass()) << nameOf(cls);
        std::unique_ptr<VxRxObject> fresh(cls->create());
        for (const VxDbField* field : kind.fields()) {
            // A new object holds the declared defaults.
            EXPECT_TRUE(vxdbSameFieldValue(field->get(*static_cast<VxDbObject*>(fresh.get())), field->defaultValue))
                << nameOf(cls) << "." << field->name;
        }
    }
}

TEST(DbFields, RefusedValuesChangeNothing)
{
    for (const VxRxClass* cls : describedClasses()) {
        std::vector<VxDbFieldValue> taken;
        std::unique_ptr<VxDbEntity> entity = filled(cls, taken);
        const auto& fields = vxdbKindOf(cls)->fields();
        for (size_t i = 0; i < fields.size(); ++i) {
            SCOPED_TRACE(nameOf(cls) + "." + fields[i]->name);
            for (const VxDbFieldValue& bad : notFinite(fields[i]->defaultValue)) {
                EXPECT_NE(fields[i]->set(*entity, bad), Velt::eOk);
                EXPECT_TRUE(vxdbSameFieldValue(fields[i]->get(*entity), taken[i]));
            }
            // A value of another type is refused as well.
            const VxDbFieldValue wrongType = std::holds_alternative<bool>(taken[i]) ? VxDbFieldValue(1.0)
                                                                                     : VxDbFieldValue(true);
            EXPECT_EQ(fields[i]->set(*entity, wrongType), Velt::eInvalidInput);
            EXPECT_TRUE(vxdbSameFieldValue(fields[i]->get(*entity), taken[i]));
        }
    }
}

TEST(DbFields, ResidentObjectsChangeOnlyWhenOpenForWrite)
{
    VxDbDatabase db;
    for (const VxRxClass* cls : describedClasses()) {
        std::vector<VxDbFieldValue> taken;
        std::unique_ptr<VxDbEntity> entity = filled(cls, taken);
        VxDbObjectId id;
        {
            VxDbObjectPointer<VxDbBlockTableRecord> space(db.modelSpaceId(), VxDb::kForWrite);
            ASSERT_EQ(space->appendVxDbEntity(id, entity.get()), Velt::eOk) << nameOf(cls);
            entity.release()->close();
        }
        VxDbObjectPointer<VxDbEntity> open(id, VxDb::kForRead);
        const VxDbField* first = vxdbKindOf(cls)->fields().front();
        EXPECT_EQ(first->set(*open.get(), first->defaultValue), Velt::eNotOpenForWrite) << nameOf(cls);
    }
}

TEST(DbFields, CopiesAndFilesKeepEveryField)
{
    VxDbDatabase db;
    std::vector<std::pair<VxDbObjectId, std::vector<VxDbFieldValue>>> made;
    for (const VxRxClass* cls : describedClasses()) {
        std::vector<VxDbFieldValue> taken;
        std::unique_ptr<VxDbEntity> entity = filled(cls, taken);
        // A clone holds the same values, bit for bit.
        std::unique_ptr<VxDbObject> copy(entity->clone());
        const auto& fields = vxdbKindOf(cls)->fields();
        for (size_t i = 0; i < fields.size(); ++i)
            EXPECT_TRUE(vxdbSameFieldValue(fields[i]->get(*copy), taken[i])) << nameOf(cls) << "." << fields[i]->name;
        VxDbObjectId id;
        VxDbObjectPointer<VxDbBlockTableRecord> space(db.modelSpaceId(), VxDb::kForWrite);
        ASSERT_EQ(space->appendVxDbEntity(id, entity.get()), Velt::eOk);
        entity.release()->close();
        made.emplace_back(id, std::move(taken));
    }
    for (VxDbDxfVersion version : {VxDbDxfVersion::kR2000, VxDbDxfVersion::kR2018}) {
        VxDbDxfReadInfo info;
        std::unique_ptr<VxDbDatabase> back = fromDxf(toDxf(db, version), &info);
        ASSERT_TRUE(back);
        EXPECT_EQ(info.opaqueEntities, 0u);
        for (const auto& [id, taken] : made) {
            VxDbObjectId again;
            ASSERT_EQ(back->getVxDbObjectId(again, false, id.handle()), Velt::eOk);
            VxDbObjectPointer<VxDbEntity> read(again, VxDb::kForRead);
            ASSERT_TRUE(read);
            ASSERT_EQ(read->isA(), id.objectClass());
            const auto& fields = vxdbKindOf(read.get())->fields();
            for (size_t i = 0; i < fields.size(); ++i) {
                // Fields not in files, or not in files this old, come back as their defaults.
                const bool written = fields[i]->code && version >= kxdxf::sinceOf(fields[i]->flags);
                const VxDbFieldValue expected = written ? taken[i] : fields[i]->defaultValue;
                EXPECT_TRUE(near(fields[i]->get(*read.get()), expected)) << nameOf(read->isA()) << "." << fields[i]->name;
            }
        }
    }
}

// A file may say what the host refuses: such a record is kept as it is, not modelled.
TEST(DbFields, RecordsWithRefusedValuesStayAsRead)
{
    const char* const records[] = {
        "CIRCLE\n5\n50\n330\n1F\n100\nAcDbEntity\n8\n0\n100\nAcDbCircle\n10\n0\n20\n0\n30\n0\n40\n-1\n",
        "ELLIPSE\n5\n51\n330\n1F\n100\nAcDbEntity\n8\n0\n100\nAcDbEllipse\n10\n0\n20\n0\n30\n0\n11\n0\n21\n0\n31\n5\n"
        "210\n0\n220\n0\n230\n1\n40\n0.5\n41\n0\n42\n6.283185307179586\n",
        "RAY\n5\n52\n330\n1F\n100\nAcDbEntity\n8\n0\n100\nAcDbRay\n10\n0\n20\n0\n30\n0\n11\n0\n21\n0\n31\n0\n",
        "3DFACE\n5\n53\n330\n1F\n100\nAcDbEntity\n8\n0\n100\nAcDbFace\n10\n0\n20\n0\n30\n0\n70\n99\n",
        "LINE\n5\n54\n330\n1F\n100\nAcDbEntity\n8\n0\n100\nAcDbLine\n10\n0\n20\n0\n30\n0\n11\n1\n21\n1\n31\n1\n999\nx\n",
    };
    for (const char* record : records) {
        SCOPED_TRACE(record);
        std::string file = "0\nSECTION\n2\nENTITIES\n0\n";
        file += record;
        file += "0\nENDSEC\n0\nEOF\n";
        VxDbDxfReadInfo info;
        std::unique_ptr<VxDbDatabase> db = fromDxf(file, &info);
        ASSERT_TRUE(db) << info.message;
        EXPECT_EQ(info.entities, 1u);
        EXPECT_EQ(info.opaqueEntities, 1u);
    }
}

// Three corners read as a triangle: the fourth repeats the third.
TEST(DbFields, FacesAndSolidsOfThreeCornersGetTheirFourth)
{
    const std::string file =
        "0\nSECTION\n2\nENTITIES\n"
        "0\n3DFACE\n5\n60\n100\nAcDbEntity\n8\n0\n100\nAcDbFace\n10\n0\n20\n0\n30\n0\n11\n1\n21\n0\n31\n0\n12\n1\n22\n1\n32\n0\n"
        "0\nSOLID\n5\n61\n100\nAcDbEntity\n8\n0\n100\nAcDbTrace\n10\n0\n20\n0\n30\n0\n11\n2\n21\n0\n31\n0\n12\n2\n22\n2\n32\n0\n"
        "0\nENDSEC\n0\nEOF\n";
    std::unique_ptr<VxDbDatabase> db = fromDxf(file);
    ASSERT_TRUE(db);
    VxDbObjectId faceId, solidId;
    ASSERT_EQ(db->getVxDbObjectId(faceId, false, VxDbHandle(0x60)), Velt::eOk);
    ASSERT_EQ(db->getVxDbObjectId(solidId, false, VxDbHandle(0x61)), Velt::eOk);
    VxDbObjectPointer<VxDbFace> face(faceId, VxDb::kForRead);
    VxDbObjectPointer<VxDbSolid> solid(solidId, VxDb::kForRead);
    ASSERT_TRUE(face && solid);
    EXPECT_EQ(face->vertex3(), (VxGePoint3d{1, 1, 0}));
    EXPECT_EQ(solid->point3(), (VxGePoint3d{2, 2, 0}));
}

// The same value by every bit (NaN included): what the two ways of reading must agree on.
bool sameBits(const VxDbFieldValue& a, const VxDbFieldValue& b)
{
    auto same = [](double x, double y) { return std::bit_cast<uint64_t>(x) == std::bit_cast<uint64_t>(y); };
    if (auto* x = std::get_if<double>(&a))
        return std::holds_alternative<double>(b) && same(*x, std::get<double>(b));
    if (auto* x = std::get_if<VxGePoint3d>(&a)) {
        auto* y = std::get_if<VxGePoint3d>(&b);
        return y && same(x->x, y->x) && same(x->y, y->y) && same(x->z, y->z);
    }
    if (auto* x = std::get_if<VxGeVector3d>(&a)) {
        auto* y = std::get_if<VxGeVector3d>(&b);
        return y && same(x->x, y->x) && same(x->y, y->y) && same(x->z, y->z);
    }
    return vxdbSameFieldValue(a, b);
}

// The reader's direct path to a field's storage against the path through get and set, on
// records a file could hold: groups repeated, out of order, points in part, values refused or
// not numbers at all, groups the kind does not know (extended data among them), long texts in
// parts. Both must accept the same records and leave the same values.
TEST(DbFields, DirectReadingAgreesWithReadingThroughValues)
{
    const char* const values[] = {"0",   "1",   "-1",   "5",      "15",   "16",  "0.375", "2.5",     "-2.25",
                                  "1e3", "1e400", "nan", "abc", "", "70000", "2.0", "Fläche", "-0", "90", "0.5"};
    const int extraCodes[] = {100, 3, 999, 1001, 1000, 1040, 5, 71, 330};
    std::mt19937 random(15);
    VxRxDictionary* dictionary = vxrxClassDictionary();
    size_t kinds = 0, accepted = 0;
    for (const std::wstring& key : dictionary->keys()) {
        const VxRxClass* cls = VxRxClass::cast(dictionary->at(key.c_str()));
        if (!cls || !cls->kind() || !*cls->dxfName() || !std::unique_ptr<VxRxObject>(cls->create()))
            continue;
        ++kinds;
        const VxDbKind& kind = *cls->kind();
        std::vector<int> codes;
        for (const VxDbField* field : kind.fields()) {
            if (field->code == 0)
                continue;
            codes.push_back(field->code);
            if (field->type == VxDbFieldType::kPoint || field->type == VxDbFieldType::kVector) {
                codes.push_back(field->code + 10);
                codes.push_back(field->code + 20);
            }
        }
        if (codes.empty())
            continue;
        for (int round = 0; round < 300; ++round) {
            std::vector<dxf::FieldGroup> groups;
            std::vector<double> numbers(64);
            const size_t count = 1 + random() % (2 * codes.size() + 2);
            for (size_t g = 0; g < count && g < numbers.size(); ++g) {
                const bool extra = random() % 8 == 0;
                const int code = extra ? extraCodes[random() % std::size(extraCodes)] : codes[random() % codes.size()];
                // Mostly values that fit the field; some parsed before, as the reader does.
                std::string_view value = values[random() % std::size(values)];
                dxf::FieldGroup group{code, value};
                if (random() % 3 == 0 && dxf::parseDouble(value, numbers[g]))
                    group.number = &numbers[g];
                groups.push_back(group);
            }
            std::unique_ptr<VxDbObject> direct(VxDbObject::cast(cls->create()));
            std::unique_ptr<VxDbObject> through(VxDbObject::cast(cls->create()));
            std::vector<dxf::NamedRecord> directNames, throughNames;
            const bool directRead = dxf::readFields(*direct, kind, groups, true, &directNames);
            const bool throughRead = dxf::readFieldsThroughValues(*through, kind, groups, true, &throughNames);
            std::string trace = nameOf(cls) + ":";
            for (const dxf::FieldGroup& group : groups)
                trace += " " + std::to_string(group.code) + "=" + std::string(group.value);
            ASSERT_EQ(directRead, throughRead) << trace;
            if (!directRead)
                continue;
            ++accepted;
            for (const VxDbField* field : kind.fields())
                EXPECT_TRUE(sameBits(field->get(*direct), field->get(*through))) << trace << " field " << field->name;
            ASSERT_EQ(directNames.size(), throughNames.size()) << trace;
            for (size_t n = 0; n < directNames.size(); ++n) {
                EXPECT_EQ(directNames[n].field, throughNames[n].field) << trace;
                EXPECT_EQ(directNames[n].name, throughNames[n].name) << trace;
            }
        }
    }
    EXPECT_GT(kinds, 20u);
    EXPECT_GT(accepted, kinds);  // not only refusals
}

}  // namespace
}  // namespace kx
