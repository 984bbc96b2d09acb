// The database wrapper: the root of the object model of one drawing. It works on a database
// it does not own, records itself in the link manager as that database's wrapper, and hands
// out the tables and dictionaries (looked up afresh on each read) and three cached children.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <type_traits>

#include "core/binding.h"
#include "core/wrapper.h"
#include "frame/com.h"

namespace kx {
class VxDbDatabase;
}

namespace nk {

// A database that a wrapper works on but does not own. It is trusted only while the
// database's link-manager record names `wrapper`: the record goes when the database is
// deleted or its wrapper detached, and from then on the link reads as no database.
class DatabaseLink {
public:
    DatabaseLink() = default;
    DatabaseLink(kx::VxDbDatabase* database, IUnknown* wrapper) : database_(database), wrapper_(wrapper) {}

    kx::VxDbDatabase* get() const;
    // The database the link was made for, alive or not: for comparing, never for use.
    kx::VxDbDatabase* key() const { return database_; }
    IUnknown* wrapper() const { return wrapper_; }

private:
    kx::VxDbDatabase* database_ = nullptr;
    IUnknown* wrapper_ = nullptr;  // the database wrapper's identity; not counted
};

// The objects of a database that the wrapper hands out by look-up.
enum class DatabaseObject {
    kModelSpace, kPaperSpace, kBlocks, kGroups, kDimStyles, kLayers, kLinetypes, kDictionaries,
    kRegisteredApplications, kTextStyles, kUserCoordinateSystems, kViews, kViewports, kLayouts,
    kPlotConfigurations, kSectionManager, kMaterials,
};

// The state and the members of the database wrapper.
class DatabaseCore {
public:
    DatabaseCore() = default;
    DatabaseCore(const DatabaseCore&) = delete;
    DatabaseCore& operator=(const DatabaseCore&) = delete;
    ~DatabaseCore();

    // Works on `database` from now on (null detaches), recorded with `identity` as its wrapper.
    void bind(kx::VxDbDatabase* database, IUnknown* identity);
    kx::VxDbDatabase* database() const { return link_.get(); }
    void setApplication(IDispatch* application) { app_ = application; }
    IDispatch* application() const { return app_.get(); }

    HRESULT objectOf(DatabaseObject which, REFIID iid, void** out);
    HRESULT copyObjects(const VARIANT& objects, const VARIANT& owner, VARIANT* idPairs, VARIANT* result);
    HRESULT elevation(double* value, bool paperSpace);
    HRESULT setElevation(double value, bool paperSpace);
    HRESULT limits(VARIANT* value);
    HRESULT setLimits(const VARIANT& value);
    HRESULT handleToObject(BSTR handle, IDispatch** object);
    HRESULT objectIdToObject(LONG_PTR id, IDispatch** object);
    HRESULT preferences(IVeltDatabasePreferences** preferences);
    HRESULT summaryInfo(IVeltSummaryInfo** summaryInfo);
    HRESULT fileDependencies(IVeltFileDependencies** fileDependencies);

private:
    void forgetRecord();

    DatabaseLink link_;
    ComPtr<IDispatch> app_;
    ComPtr<IVeltDatabasePreferences> preferences_;
    ComPtr<IVeltSummaryInfo> summaryInfo_;
    ComPtr<IVeltFileDependencies> fileDependencies_;
};

template <class Self, class Base>
class DatabaseMembers : public Base {
public:
    HRESULT STDMETHODCALLTYPE get_ModelSpace(IVeltModelSpace** out) override
    {
        return get(DatabaseObject::kModelSpace, out);
    }
    HRESULT STDMETHODCALLTYPE get_PaperSpace(IVeltPaperSpace** out) override
    {
        return get(DatabaseObject::kPaperSpace, out);
    }
    HRESULT STDMETHODCALLTYPE get_Blocks(IVeltBlocks** out) override { return get(DatabaseObject::kBlocks, out); }
    HRESULT STDMETHODCALLTYPE CopyObjects(VARIANT objects, VARIANT owner, VARIANT* idPairs, VARIANT* result) override
    {
        return core_.copyObjects(objects, owner, idPairs, result);
    }
    HRESULT STDMETHODCALLTYPE get_Groups(IVeltGroups** out) override { return get(DatabaseObject::kGroups, out); }
    HRESULT STDMETHODCALLTYPE get_DimStyles(IVeltDimStyles** out) override
    {
        return get(DatabaseObject::kDimStyles, out);
    }
    HRESULT STDMETHODCALLTYPE get_Layers(IVeltLayers** out) override { return get(DatabaseObject::kLayers, out); }
    HRESULT STDMETHODCALLTYPE get_Linetypes(IVeltLineTypes** out) override
    {
        return get(DatabaseObject::kLinetypes, out);
    }
    HRESULT STDMETHODCALLTYPE get_Dictionaries(IVeltDictionaries** out) override
    {
        return get(DatabaseObject::kDictionaries, out);
    }
    HRESULT STDMETHODCALLTYPE get_RegisteredApplications(IVeltRegisteredApplications** out) override
    {
        return get(DatabaseObject::kRegisteredApplications, out);
    }
    HRESULT STDMETHODCALLTYPE get_TextStyles(IVeltTextStyles** out) override
    {
        return get(DatabaseObject::kTextStyles, out);
    }
    HRESULT STDMETHODCALLTYPE get_UserCoordinateSystems(IVeltUCSs** out) override
    {
        return get(DatabaseObject::kUserCoordinateSystems, out);
    }
    HRESULT STDMETHODCALLTYPE get_Views(IVeltViews** out) override { return get(DatabaseObject::kViews, out); }
    HRESULT STDMETHODCALLTYPE get_Viewports(IVeltViewports** out) override
    {
        return get(DatabaseObject::kViewports, out);
    }
    HRESULT STDMETHODCALLTYPE get_ElevationModelSpace(double* value) override { return core_.elevation(value, false); }
    HRESULT STDMETHODCALLTYPE put_ElevationModelSpace(double value) override
    {
        return core_.setElevation(value, false);
    }
    HRESULT STDMETHODCALLTYPE get_ElevationPaperSpace(double* value) override { return core_.elevation(value, true); }
    HRESULT STDMETHODCALLTYPE put_ElevationPaperSpace(double value) override { return core_.setElevation(value, true); }
    HRESULT STDMETHODCALLTYPE get_Limits(VARIANT* value) override { return core_.limits(value); }
    HRESULT STDMETHODCALLTYPE put_Limits(VARIANT value) override { return core_.setLimits(value); }
    HRESULT STDMETHODCALLTYPE HandleToObject(BSTR handle, IDispatch** object) override
    {
        return core_.handleToObject(handle, object);
    }
    HRESULT STDMETHODCALLTYPE ObjectIdToObject(LONG_PTR id, IDispatch** object) override
    {
        return core_.objectIdToObject(id, object);
    }
    HRESULT STDMETHODCALLTYPE get_Layouts(IVeltLayouts** out) override { return get(DatabaseObject::kLayouts, out); }
    HRESULT STDMETHODCALLTYPE get_PlotConfigurations(IVeltPlotConfigurations** out) override
    {
        return get(DatabaseObject::kPlotConfigurations, out);
    }
    HRESULT STDMETHODCALLTYPE get_Preferences(IVeltDatabasePreferences** out) override
    {
        return core_.preferences(out);
    }
    HRESULT STDMETHODCALLTYPE get_SummaryInfo(IVeltSummaryInfo** out) override { return core_.summaryInfo(out); }
    HRESULT STDMETHODCALLTYPE get_FileDependencies(IVeltFileDependencies** out) override
    {
        return core_.fileDependencies(out);
    }
    HRESULT STDMETHODCALLTYPE get_SectionManager(IVeltSectionManager** out) override
    {
        return get(DatabaseObject::kSectionManager, out);
    }
    HRESULT STDMETHODCALLTYPE get_Materials(IVeltMaterials** out) override
    {
        return get(DatabaseObject::kMaterials, out);
    }

protected:
    DatabaseCore core_;

private:
    template <class Itf>
    HRESULT get(DatabaseObject which, Itf** out)
    {
        return core_.objectOf(which, __uuidof(Itf), reinterpret_cast<void**>(out));
    }
};

// The database-only document carries the database members too, forwarding them to the
// wrapper of its database (objects/document.h).
template <class Self, class Base>
class ForwardedDatabaseMembers;

template <class Self>
constexpr bool kIsDocument = false;
template <class Tag, class Source>
constexpr bool kIsDocument<Wrapper<Tag, IKxDbDocument, Source>> = true;

template <class Self, class Base>
struct Level<IVeltDatabase, Self, Base> {
    using type = std::conditional_t<kIsDocument<Self>, ForwardedDatabaseMembers<Self, Pending<IVeltDatabase, Base>>,
                                    DatabaseMembers<Self, Pending<IVeltDatabase, Base>>>;
};

class CVeltDatabase : public Wrapper<VeltDatabaseTag, IVeltDatabase, VeltDatabaseTag::SourceInterface>,
                      public IVeltBaseDatabase,
                      public IRetrieveApplication {
public:
    void* findInterface(REFIID iid);

    HRESULT STDMETHODCALLTYPE SetDatabase(kx::VxDbDatabase* database) override;
    HRESULT STDMETHODCALLTYPE GetDatabase(kx::VxDbDatabase** database) override;
    HRESULT STDMETHODCALLTYPE SetApplicationObject(IDispatch* application) override;
    HRESULT STDMETHODCALLTYPE GetApplicationObject(IDispatch** application) override;
};

template <>
struct ImplOf<VeltDatabaseTag> {
    using type = CVeltDatabase;
};

}  // namespace nk
