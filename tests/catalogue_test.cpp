// The built type library, read through ITypeLib, against the catalogue clients rely on
// (tests/data/catalogue.txt): counts, every enumeration value, every interface's base and
// member count, the coclasses in order with their can-create flags, the aliases, and the
// name, kind, DISPID and vtable slot of every member whose place is fixed.
#include <gtest/gtest.h>

#include <windows.h>
#include <oaidl.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "frame/com.h"
#include "server_dll.h"

using nk::Bstr;
using nk::ComPtr;

namespace {

std::string narrow(const std::wstring& s) { return std::string(s.begin(), s.end()); }

struct Expected {
    std::vector<std::vector<std::string>> lines;  // each line split into words

    static Expected load()
    {
        Expected e;
        const char* dir = std::getenv("NKAUTO_DATA");
        std::ifstream in(std::string(dir ? dir : "..\\..\\tests\\data") + "\\catalogue.txt");
        std::string line;
        while (std::getline(in, line)) {
            if (line.empty() || line[0] == '#') continue;
            std::istringstream words(line);
            std::vector<std::string> w;
            for (std::string s; words >> s;) w.push_back(s);
            e.lines.push_back(w);
        }
        return e;
    }
    std::vector<std::vector<std::string>> of(const std::string& kind) const
    {
        std::vector<std::vector<std::string>> out;
        for (auto& l : lines)
            if (l[0] == kind) out.push_back(l);
        return out;
    }
};

struct TypeEntry {
    ComPtr<ITypeInfo> info;
    TYPEKIND kind;
    WORD flags;
    UINT index;
};

class Catalogue : public ::testing::Test {
protected:
    void SetUp() override
    {
        expected = Expected::load();
        ASSERT_FALSE(expected.lines.empty()) << "catalogue data not found";
        ASSERT_EQ(LoadTypeLibEx(ServerDll::path().c_str(), REGKIND_NONE, lib.put()), S_OK);
        for (UINT i = 0; i < lib->GetTypeInfoCount(); ++i) {
            TypeEntry t;
            lib->GetTypeInfo(i, t.info.put());
            TYPEATTR* attr = nullptr;
            t.info->GetTypeAttr(&attr);
            t.kind = attr->typekind;
            t.flags = attr->wTypeFlags;
            t.index = i;
            t.info->ReleaseTypeAttr(attr);
            Bstr name;
            t.info->GetDocumentation(MEMBERID_NIL, name.put(), nullptr, nullptr, nullptr);
            byName[narrow(name.c_str())] = t;
            order.push_back(narrow(name.c_str()));
        }
    }

    // The vtable view of an interface (the interface half of a dual).
    ComPtr<ITypeInfo> vtableOf(const std::string& name)
    {
        auto it = byName.find(name);
        if (it == byName.end()) return {};
        ComPtr<ITypeInfo> info = it->second.info;
        HREFTYPE ref = 0;
        ComPtr<ITypeInfo> vtable;
        if (it->second.kind == TKIND_DISPATCH && SUCCEEDED(info->GetRefTypeOfImplType(-1, &ref)) &&
            SUCCEEDED(info->GetRefTypeInfo(ref, vtable.put())))
            return vtable;
        return info;
    }

    Expected expected;
    ComPtr<ITypeLib> lib;
    std::map<std::string, TypeEntry> byName;
    std::vector<std::string> order;
};

std::string nameOf(ITypeInfo* info, MEMBERID id)
{
    Bstr name;
    info->GetDocumentation(id, name.put(), nullptr, nullptr, nullptr);
    return narrow(name.c_str());
}

INVOKEKIND kindOf(const std::string& k)
{
    if (k == "get") return INVOKE_PROPERTYGET;
    if (k == "put") return INVOKE_PROPERTYPUT;
    return INVOKE_FUNC;
}

}  // namespace

TEST_F(Catalogue, LibraryHeaderAndCounts)
{
    TLIBATTR* attr = nullptr;
    ASSERT_EQ(lib->GetLibAttr(&attr), S_OK);
    EXPECT_EQ(attr->wMajorVerNum, 1);
    EXPECT_EQ(attr->wMinorVerNum, 0);
    EXPECT_EQ(attr->lcid, 0x409u);
    EXPECT_EQ(attr->syskind, SYS_WIN64);
    lib->ReleaseTLibAttr(attr);
    Bstr name, help;
    lib->GetDocumentation(MEMBERID_NIL, name.put(), help.put(), nullptr, nullptr);
    EXPECT_STREQ(name.c_str(), L"KXAUTOLib");
    EXPECT_STREQ(help.c_str(), L"TARSK Type Library");
    Bstr helpDll;
    ASSERT_EQ(lib.as<ITypeLib2>()->GetDocumentation2(MEMBERID_NIL, 0, nullptr, nullptr, helpDll.put()), S_OK);
    EXPECT_STREQ(helpDll.c_str(), L"NkAuto.dll");

    std::map<TYPEKIND, int> kinds;
    int dual = 0;
    for (auto& [n, t] : byName) {
        ++kinds[t.kind];
        if (t.kind == TKIND_DISPATCH && (t.flags & TYPEFLAG_FDUAL)) ++dual;
    }
    EXPECT_EQ(lib->GetTypeInfoCount(), 418u);
    EXPECT_EQ(kinds[TKIND_ENUM], 146);
    EXPECT_EQ(kinds[TKIND_COCLASS], 129);
    EXPECT_EQ(kinds[TKIND_ALIAS], 10);
    EXPECT_EQ(kinds[TKIND_DISPATCH] + kinds[TKIND_INTERFACE], 133);
    // Every interface is dual but the two event sources and the shadow display, which
    // derives from IUnknown.
    EXPECT_EQ(dual, 130);
    EXPECT_EQ(kinds[TKIND_INTERFACE], 3);
}

TEST_F(Catalogue, EnumerationsHaveExactlyTheirValues)
{
    auto enums = expected.of("enum");
    ASSERT_EQ(enums.size(), 146u);
    for (auto& e : enums) {
        SCOPED_TRACE(e[1]);
        auto it = byName.find(e[1]);
        ASSERT_NE(it, byName.end());
        ASSERT_EQ(it->second.kind, TKIND_ENUM);
        ITypeInfo* info = it->second.info.get();
        TYPEATTR* attr = nullptr;
        info->GetTypeAttr(&attr);
        UINT vars = attr->cVars;
        info->ReleaseTypeAttr(attr);
        ASSERT_EQ(vars, e.size() - 2);
        for (UINT v = 0; v < vars; ++v) {
            VARDESC* vd = nullptr;
            info->GetVarDesc(v, &vd);
            std::string actual = nameOf(info, vd->memid) + "=" + std::to_string(V_I4(vd->lpvarValue));
            info->ReleaseVarDesc(vd);
            EXPECT_EQ(actual, e[v + 2]);
        }
    }
}

TEST_F(Catalogue, InterfacesHaveTheirBasesAndMemberCounts)
{
    auto interfaces = expected.of("interface");
    ASSERT_EQ(interfaces.size(), 133u);
    for (auto& e : interfaces) {
        SCOPED_TRACE(e[1]);
        ComPtr<ITypeInfo> info = vtableOf(e[1]);
        ASSERT_TRUE(info);
        TYPEATTR* attr = nullptr;
        info->GetTypeAttr(&attr);
        EXPECT_EQ(attr->cFuncs, std::stoi(e[3]));
        info->ReleaseTypeAttr(attr);
        HREFTYPE ref = 0;
        ComPtr<ITypeInfo> base;
        ASSERT_EQ(info->GetRefTypeOfImplType(0, &ref), S_OK);
        ASSERT_EQ(info->GetRefTypeInfo(ref, base.put()), S_OK);
        EXPECT_EQ(nameOf(base.get(), MEMBERID_NIL), e[2]);
    }
}

TEST_F(Catalogue, CoclassesInOrderWithTheirCreateFlags)
{
    auto expectedClasses = expected.of("coclass");
    ASSERT_EQ(expectedClasses.size(), 129u);
    std::vector<std::string> actual;
    for (auto& n : order)
        if (byName[n].kind == TKIND_COCLASS) actual.push_back(n);
    ASSERT_EQ(actual.size(), expectedClasses.size());
    int creatable = 0;
    for (size_t i = 0; i < actual.size(); ++i) {
        EXPECT_EQ(actual[i], expectedClasses[i][1]);
        bool canCreate = (byName[actual[i]].flags & TYPEFLAG_FCANCREATE) != 0;
        EXPECT_EQ(canCreate, expectedClasses[i][2] == "create") << actual[i];
        creatable += canCreate;
    }
    EXPECT_EQ(creatable, 20);
    for (auto& a : expected.of("alias")) {
        auto it = byName.find(a[1]);
        ASSERT_NE(it, byName.end()) << a[1];
        EXPECT_EQ(it->second.kind, TKIND_ALIAS) << a[1];
    }
}

TEST_F(Catalogue, MembersHaveTheirNamesKindsDispidsAndSlots)
{
    auto members = expected.of("member");
    ASSERT_GT(members.size(), 600u);
    for (auto& m : members) {
        const std::string& itf = m[1];
        SCOPED_TRACE(itf + " " + m[2] + " " + m[3] + " " + m[4]);
        ComPtr<ITypeInfo> info = vtableOf(itf);
        ASSERT_TRUE(info);
        TYPEATTR* attr = nullptr;
        info->GetTypeAttr(&attr);
        UINT funcs = attr->cFuncs;
        info->ReleaseTypeAttr(attr);
        bool found = false;
        for (UINT f = 0; f < funcs && !found; ++f) {
            FUNCDESC* fd = nullptr;
            info->GetFuncDesc(f, &fd);
            std::string name = nameOf(info.get(), fd->memid);
            bool kindMatches = m[3] == "-" || fd->invkind == kindOf(m[3]);
            if (m[2] != "-") {
                if (fd->oVft / 8 == std::stoi(m[2])) {
                    found = true;
                    EXPECT_EQ(name, m[4]);
                    EXPECT_TRUE(kindMatches) << "invkind " << fd->invkind;
                    if (m[5] != "-") {
                        EXPECT_EQ(fd->memid, std::stol(m[5], nullptr, 0));
                    }
                }
            } else if (name == m[4] && kindMatches) {
                found = true;
                if (m[5] != "-") {
                    EXPECT_EQ(fd->memid, std::stol(m[5], nullptr, 0));
                }
            }
            info->ReleaseFuncDesc(fd);
        }
        EXPECT_TRUE(found);
    }
}
