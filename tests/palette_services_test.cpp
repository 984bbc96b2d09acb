// The palette's services on the database class: how they are attached and detached, the
// extension factories, the names of property sources, and the dynamic properties that
// modules add to classes as the palette's view of an object sees them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "db/database.h"
#include "db/entities.h"
#include "drawing_fixture.h"
#include "frame/com.h"
#include "frame/unknown.h"
#include "opm/extensions.h"
#include "rx/rxobject.h"

using nk::Bstr;
using nk::ComPtr;
using nk::Variant;

namespace {

const wchar_t* const kClassNames[] = {L"OPMPropertyExtension", L"OPMPropertyExtensionFactory",
                                      L"OPMPerInstancePropertySources", L"OPMPerInstancePropertyExtension",
                                      L"OPMPerInstancePropertyExtensionFactory"};

// The strings of a VT_ARRAY | VT_BSTR, checked to be one-dimensional from 0.
std::vector<std::wstring> namesOf(VARIANT& v)
{
    std::vector<std::wstring> out;
    if (V_VT(&v) != (VT_ARRAY | VT_BSTR) || SafeArrayGetDim(V_ARRAY(&v)) != 1) return out;
    LONG lo = -1, hi = -1;
    SafeArrayGetLBound(V_ARRAY(&v), 1, &lo);
    SafeArrayGetUBound(V_ARRAY(&v), 1, &hi);
    if (lo != 0) return out;
    for (LONG i = 0; i <= hi; ++i) {
        Bstr s;
        SafeArrayGetElement(V_ARRAY(&v), &i, s.put());
        out.emplace_back(s.c_str());
    }
    return out;
}

// A property a module adds: a name and a fixed value.
class FixedProperty final : public nk::SingleInterfaceObject<IVeltDynamicProperty> {
public:
    explicit FixedProperty(const wchar_t* name) : name_(name) {}
    HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) override { *name = SysAllocString(name_.c_str()); return S_OK; }
    HRESULT STDMETHODCALLTYPE get_Category(BSTR* category) override { *category = SysAllocString(L"Misc"); return S_OK; }
    HRESULT STDMETHODCALLTYPE get_ReadOnly(VARIANT_BOOL* readOnly) override { *readOnly = VARIANT_TRUE; return S_OK; }
    HRESULT STDMETHODCALLTYPE GetValue(IUnknown*, VARIANT* value) override
    {
        V_VT(value) = VT_I4;
        V_I4(value) = 42;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetValue(IUnknown*, VARIANT) override { return E_ACCESSDENIED; }

private:
    std::wstring name_;
};

std::wstring nameOf(IUnknown* item)
{
    Bstr name;
    ComPtr<IVeltDynamicProperty> property = ComPtr<IUnknown>(item).as<IVeltDynamicProperty>();
    if (property) property->get_Name(name.put());
    return name.c_str();
}

class PaletteServices : public drawing::Drawing {
protected:
    void SetUp() override
    {
        drawing::Drawing::SetUp();
        nk::initOpmPropertyExtension();
    }
    void TearDown() override { UninitOPMPropertyExtension(); }
};

TEST_F(PaletteServices, AttachedToTheDatabaseClassUnderTheirNamesAndGoneAfterUninit)
{
    for (const wchar_t* name : kClassNames) {
        kx::VxRxClass* cls = kx::vxrxFindClass(name);
        ASSERT_NE(cls, nullptr);
        EXPECT_EQ(cls->myParent(), kx::VxRxObject::desc());
    }
    nk::OPMPropertyExtensionFactory* factory = nk::opmPropertyExtensionFactory();
    ASSERT_NE(factory, nullptr);
    EXPECT_EQ(kx::VxDbDatabase::desc()->queryX(nk::OPMPropertyExtensionFactory::desc()), factory);
    EXPECT_TRUE(factory->isKindOf(kx::vxrxFindClass(L"OPMPropertyExtensionFactory")));
    EXPECT_NE(nk::opmPerInstanceExtensionFactory(), nullptr);
    EXPECT_NE(nk::opmPerInstanceExtension(), nullptr);
    EXPECT_NE(nk::opmPropertySources(), nullptr);

    nk::initOpmPropertyExtension();  // a second start changes nothing
    EXPECT_EQ(nk::opmPropertyExtensionFactory(), factory);

    UninitOPMPropertyExtension();
    UninitOPMPropertyExtension();
    EXPECT_FALSE(nk::opmPropertyExtensionAttached());
    for (const wchar_t* name : kClassNames) EXPECT_EQ(kx::vxrxFindClass(name), nullptr);
    EXPECT_EQ(nk::opmPropertyExtensionFactory(), nullptr);
    ComPtr<IVeltPropertyManager> manager;
    EXPECT_EQ(VxOpmGetClassPropertyManager(L"KxDbLine", manager.put()), E_FAIL);

    // And they come back whole.
    nk::initOpmPropertyExtension();
    EXPECT_NE(kx::vxrxFindClass(L"OPMPropertyExtension"), nullptr);
    EXPECT_NE(nk::opmPropertyExtensionFactory(), nullptr);
}

TEST_F(PaletteServices, TheFactoryKeepsOneExtensionPerClassAndPerNameAndOneForAll)
{
    nk::OPMPropertyExtensionFactory* factory = nk::opmPropertyExtensionFactory();
    const kx::VxRxClass* line = kx::VxDbLine::desc();
    nk::OPMPropertyExtension* ofLine = factory->createExtension(line);
    ASSERT_NE(ofLine, nullptr);
    EXPECT_EQ(factory->createExtension(line), ofLine);
    EXPECT_EQ(factory->createExtension(nullptr), nullptr);
    // Attached to the runtime-class class, not to the class asked for.
    EXPECT_EQ(kx::VxRxClass::desc()->getX(nk::OPMPropertyExtension::desc()), ofLine);
    EXPECT_EQ(line->getX(nk::OPMPropertyExtension::desc()), nullptr);

    nk::OPMPropertyExtension* shared = factory->createExtension(line, nk::kOpmAllClasses);
    ASSERT_NE(shared, nullptr);
    EXPECT_NE(shared, ofLine);
    EXPECT_EQ(factory->createExtension(kx::VxDbCircle::desc(), nk::kOpmAllClasses), shared);
    EXPECT_EQ(factory->createExtension(nullptr, nk::kOpmAllClasses), shared);

    nk::OPMPropertyExtension* named = factory->createExtensionByName(L"Survey");
    ASSERT_NE(named, nullptr);
    EXPECT_EQ(factory->createExtensionByName(L"SURVEY"), named);
    EXPECT_EQ(factory->createExtensionByName(nullptr), nullptr);
    ComPtr<IVeltPropertyManager> manager;
    EXPECT_FALSE(factory->propertyManagerByName(L"Other", manager.put()));
    ASSERT_TRUE(factory->propertyManagerByName(L"survey", manager.put()));
    ASSERT_TRUE(manager);

    LONG count = -1;
    EXPECT_FALSE(factory->propertyCount(kx::VxDbCircle::desc(), &count));
    EXPECT_EQ(count, 0);
    EXPECT_FALSE(factory->propertyCount(nullptr, &count));
    ASSERT_TRUE(factory->propertyCount(line, &count));
    EXPECT_EQ(count, 0);
}

TEST_F(PaletteServices, APropertyManagerCountsAndListsItsProperties)
{
    ComPtr<IVeltPropertyManager> manager;
    EXPECT_EQ(VxOpmGetClassPropertyManager(L"NoSuchClass", manager.put()), E_INVALIDARG);
    ASSERT_EQ(VxOpmGetClassPropertyManager(L"KxDbLine", manager.put()), S_OK);
    ComPtr<IVeltDynamicProperty> slope(new FixedProperty(L"Slope")), owner(new FixedProperty(L"Owner"));
    EXPECT_EQ(manager->AddProperty(slope.get()), S_OK);
    EXPECT_EQ(manager->AddProperty(owner.get()), S_OK);
    EXPECT_EQ(manager->AddProperty(slope.get()), S_FALSE);
    EXPECT_EQ(manager->AddProperty(nullptr), E_INVALIDARG);

    LONG count = 0;
    ASSERT_TRUE(nk::opmPropertyExtensionFactory()->propertyCount(kx::VxDbLine::desc(), &count));
    EXPECT_EQ(count, 2);
    ComPtr<IVeltDynamicProperty> item;
    ASSERT_EQ(manager->Item(1, item.put()), S_OK);
    EXPECT_EQ(item.get(), owner.get());
    EXPECT_EQ(manager->Item(2, item.put()), E_INVALIDARG);
    EXPECT_EQ(manager->Item(-1, item.put()), E_INVALIDARG);

    EXPECT_EQ(manager->RemoveProperty(slope.get()), S_OK);
    EXPECT_EQ(manager->RemoveProperty(slope.get()), S_FALSE);
    ASSERT_EQ(manager->get_Count(&count), S_OK);
    EXPECT_EQ(count, 1);
}

TEST_F(PaletteServices, AnObjectSeesThePropertiesOfItsClassItsParentsAndEveryClass)
{
    ComPtr<IVeltPropertyManager> ofLine, ofCurve, ofCircle;
    ASSERT_EQ(VxOpmGetClassPropertyManager(L"KxDbLine", ofLine.put()), S_OK);
    ASSERT_EQ(VxOpmGetClassPropertyManager(L"KxDbCurve", ofCurve.put()), S_OK);
    ASSERT_EQ(VxOpmGetClassPropertyManager(L"KxDbCircle", ofCircle.put()), S_OK);
    auto all = ComPtr<IVeltPropertyManager>::adopt(
        nk::opmPropertyExtensionFactory()->createExtension(nullptr, nk::kOpmAllClasses)->propertyManager());
    ComPtr<IVeltDynamicProperty> slope(new FixedProperty(L"Slope")), length(new FixedProperty(L"Curve length")),
        radius(new FixedProperty(L"Radius in feet")), tag(new FixedProperty(L"Asset tag"));
    ofLine->AddProperty(slope.get());
    ofCurve->AddProperty(length.get());
    ofCircle->AddProperty(radius.get());
    all->AddProperty(tag.get());

    ComPtr<IVeltLine> line = addLine({0, 0, 0}, {3, 4, 0});
    auto palette = line.as<IVeltOpmBaseObject>();
    ASSERT_TRUE(palette);
    Variant found;
    ASSERT_EQ(palette->GetDynamicProperties(found.get()), S_OK);
    ASSERT_EQ(found.type(), VT_ARRAY | VT_UNKNOWN);
    std::vector<std::wstring> names;
    for (LONG i = 0; i < static_cast<LONG>(V_ARRAY(found.get())->rgsabound[0].cElements); ++i) {
        ComPtr<IUnknown> item;
        SafeArrayGetElement(V_ARRAY(found.get()), &i, item.put());
        names.push_back(nameOf(item.get()));
    }
    EXPECT_EQ(names, (std::vector<std::wstring>{L"Slope", L"Curve length", L"Asset tag"}));
}

TEST_F(PaletteServices, PerInstanceExtensionsKeepNamesOfPropertySources)
{
    nk::OPMPerInstancePropertyExtensionFactory* factory = nk::opmPerInstanceExtensionFactory();
    nk::OPMPerInstancePropertyExtension* ofLine = factory->createExtension(kx::VxDbLine::desc());
    ASSERT_NE(ofLine, nullptr);
    EXPECT_EQ(ofLine->runtimeClass(), kx::VxDbLine::desc());
    EXPECT_EQ(factory->createExtension(kx::VxDbLine::desc()), ofLine);
    EXPECT_EQ(factory->extension(kx::VxDbLine::desc()), ofLine);
    EXPECT_EQ(factory->extension(kx::VxDbCircle::desc()), nullptr);
    EXPECT_EQ(factory->createExtension(nullptr), nullptr);

    Variant names;
    EXPECT_FALSE(ofLine->propertySourceNames(names.get()));  // none yet
    Bstr surveyText(L"Survey"), costText(L"Cost"), missingText(L"Missing");
    BSTR survey = surveyText.get(), cost = costText.get(), missing = missingText.get();
    EXPECT_TRUE(ofLine->addPropertySourceName(&survey));
    EXPECT_TRUE(ofLine->addPropertySourceName(&cost));
    EXPECT_TRUE(ofLine->addPropertySourceName(&survey));
    EXPECT_FALSE(ofLine->addPropertySourceName(nullptr));
    EXPECT_TRUE(ofLine->removePropertySourceName(&missing));
    EXPECT_TRUE(ofLine->removePropertySourceName(&survey));
    EXPECT_FALSE(ofLine->removePropertySourceName(nullptr));
    ASSERT_TRUE(ofLine->propertySourceNames(names.get()));
    EXPECT_EQ(names.type(), VT_ARRAY | VT_BSTR);
    EXPECT_EQ(namesOf(*names.get()), (std::vector<std::wstring>{L"Cost", L"Survey"}));
    EXPECT_FALSE(ofLine->propertySourceNames(nullptr));

    // The one attached to the database class.
    nk::OPMPerInstancePropertyExtension* attached = nk::opmPerInstanceExtension();
    EXPECT_EQ(attached->runtimeClass(), nullptr);
    attached->setRuntimeClass(kx::VxDbCircle::desc());
    EXPECT_EQ(attached->runtimeClass(), kx::VxDbCircle::desc());
}

// Counts its references, to see the registry take and release them.
class Source final : public nk::SingleInterfaceObject<IUnknown> {
public:
    ULONG references()
    {
        AddRef();
        return Release();
    }
};

TEST_F(PaletteServices, PropertySourcesAreHeldByNameInOrdinalOrder)
{
    nk::OPMPerInstancePropertySources* sources = nk::opmPropertySources();
    ComPtr<Source> first(new Source), second(new Source);
    Bstr texts[] = {Bstr(L"zeta"), Bstr(L"Alpha"), Bstr(L"alpha"), Bstr(L"none")};
    BSTR zeta = texts[0].get(), alpha = texts[1].get(), lower = texts[2].get(), unknown = texts[3].get();
    EXPECT_TRUE(sources->addPropertySource(&zeta, first.get()));
    EXPECT_TRUE(sources->addPropertySource(&alpha, second.get()));
    EXPECT_TRUE(sources->addPropertySource(&zeta, second.get()));  // the name keeps its source
    EXPECT_FALSE(sources->addPropertySource(nullptr, first.get()));
    EXPECT_EQ(first->references(), 2u);

    ComPtr<IUnknown> got = ComPtr<IUnknown>::adopt(sources->propertySource(&zeta));
    EXPECT_EQ(got.get(), static_cast<IUnknown*>(first.get()));
    EXPECT_EQ(sources->propertySource(&lower), nullptr);  // names are compared exactly
    EXPECT_EQ(sources->propertySource(nullptr), nullptr);

    Variant names;
    ASSERT_TRUE(sources->propertySourceNames(names.get()));
    EXPECT_EQ(namesOf(*names.get()), (std::vector<std::wstring>{L"Alpha", L"zeta"}));

    got.reset();
    EXPECT_FALSE(sources->removePropertySource(&unknown));
    EXPECT_TRUE(sources->removePropertySource(&zeta));
    EXPECT_EQ(first->references(), 1u);
    EXPECT_TRUE(sources->removePropertySource(&alpha));
    EXPECT_FALSE(sources->propertySourceNames(names.get()));
}

}  // namespace
