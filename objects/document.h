// The database-only document: a drawing opened without the editor. It owns its database,
// answers every database member by forwarding to that database's wrapper, and reads and
// writes drawing files.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <memory>

#include "core/wrapper.h"
#include "db/database.h"
#include "frame/com.h"
#include "objects/database.h"

namespace nk {

class DocumentCore {
public:
    DocumentCore() = default;
    DocumentCore(const DocumentCore&) = delete;
    DocumentCore& operator=(const DocumentCore&) = delete;
    ~DocumentCore() { tearDown(); }

    // A new drawing with default contents; identity is the document's IUnknown, recorded as
    // the document of its database.
    HRESULT construct(IUnknown* identity);

    IVeltDatabase* heldDatabase() const { return wrapper_.get(); }

    HRESULT name(BSTR* name);
    HRESULT setName(BSTR name);
    HRESULT open(BSTR fileName, const VARIANT& password);
    HRESULT save();
    HRESULT saveAs(BSTR fileName, const VARIANT& securityParams);
    HRESULT dxfIn(BSTR fileName, const VARIANT& logFileName);
    HRESULT dxfOut(BSTR fileName, const VARIANT& precision, const VARIANT& saveThumbnailImage);
    HRESULT application(IDispatch** application);
    HRESULT database(IVeltDatabase** database);

private:
    // Takes over a database just made or read, with its wrapper and the records of both.
    HRESULT adopt(std::unique_ptr<kx::VxDbDatabase> database);
    void tearDown();

    IUnknown* identity_ = nullptr;  // not counted
    Bstr name_;
    std::unique_ptr<kx::VxDbDatabase> database_;
    ComPtr<IVeltDatabase> wrapper_;
    ComPtr<IDispatch> app_;
};

template <class Self, class Base>
class ForwardedDatabaseMembers : public Base {
public:
    HRESULT STDMETHODCALLTYPE get_ModelSpace(IVeltModelSpace** out) override
    {
        return forward(&IVeltDatabase::get_ModelSpace, out);
    }
    HRESULT STDMETHODCALLTYPE get_PaperSpace(IVeltPaperSpace** out) override
    {
        return forward(&IVeltDatabase::get_PaperSpace, out);
    }
    HRESULT STDMETHODCALLTYPE get_Blocks(IVeltBlocks** out) override
    {
        return forward(&IVeltDatabase::get_Blocks, out);
    }
    HRESULT STDMETHODCALLTYPE CopyObjects(VARIANT objects, VARIANT owner, VARIANT* idPairs, VARIANT* result) override
    {
        return forward(&IVeltDatabase::CopyObjects, objects, owner, idPairs, result);
    }
    HRESULT STDMETHODCALLTYPE get_Groups(IVeltGroups** out) override
    {
        return forward(&IVeltDatabase::get_Groups, out);
    }
    HRESULT STDMETHODCALLTYPE get_DimStyles(IVeltDimStyles** out) override
    {
        return forward(&IVeltDatabase::get_DimStyles, out);
    }
    HRESULT STDMETHODCALLTYPE get_Layers(IVeltLayers** out) override
    {
        return forward(&IVeltDatabase::get_Layers, out);
    }
    HRESULT STDMETHODCALLTYPE get_Linetypes(IVeltLineTypes** out) override
    {
        return forward(&IVeltDatabase::get_Linetypes, out);
    }
    HRESULT STDMETHODCALLTYPE get_Dictionaries(IVeltDictionaries** out) override
    {
        return forward(&IVeltDatabase::get_Dictionaries, out);
    }
    HRESULT STDMETHODCALLTYPE get_RegisteredApplications(IVeltRegisteredApplications** out) override
    {
        return forward(&IVeltDatabase::get_RegisteredApplications, out);
    }
    HRESULT STDMETHODCALLTYPE get_TextStyles(IVeltTextStyles** out) override
    {
        return forward(&IVeltDatabase::get_TextStyles, out);
    }
    HRESULT STDMETHODCALLTYPE get_UserCoordinateSystems(IVeltUCSs** out) override
    {
        return forward(&IVeltDatabase::get_UserCoordinateSystems, out);
    }
    HRESULT STDMETHODCALLTYPE get_Views(IVeltViews** out) override { return forward(&IVeltDatabase::get_Views, out); }
    HRESULT STDMETHODCALLTYPE get_Viewports(IVeltViewports** out) override
    {
        return forward(&IVeltDatabase::get_Viewports, out);
    }
    HRESULT STDMETHODCALLTYPE get_ElevationModelSpace(double* value) override
    {
        return forward(&IVeltDatabase::get_ElevationModelSpace, value);
    }
    HRESULT STDMETHODCALLTYPE put_ElevationModelSpace(double value) override
    {
        return forward(&IVeltDatabase::put_ElevationModelSpace, value);
    }
    HRESULT STDMETHODCALLTYPE get_ElevationPaperSpace(double* value) override
    {
        return forward(&IVeltDatabase::get_ElevationPaperSpace, value);
    }
    HRESULT STDMETHODCALLTYPE put_ElevationPaperSpace(double value) override
    {
        return forward(&IVeltDatabase::put_ElevationPaperSpace, value);
    }
    HRESULT STDMETHODCALLTYPE get_Limits(VARIANT* value) override { return forward(&IVeltDatabase::get_Limits, value); }
    HRESULT STDMETHODCALLTYPE put_Limits(VARIANT value) override { return forward(&IVeltDatabase::put_Limits, value); }
    HRESULT STDMETHODCALLTYPE HandleToObject(BSTR handle, IDispatch** object) override
    {
        return forward(&IVeltDatabase::HandleToObject, handle, object);
    }
    HRESULT STDMETHODCALLTYPE ObjectIdToObject(LONG_PTR id, IDispatch** object) override
    {
        return forward(&IVeltDatabase::ObjectIdToObject, id, object);
    }
    HRESULT STDMETHODCALLTYPE get_Layouts(IVeltLayouts** out) override
    {
        return forward(&IVeltDatabase::get_Layouts, out);
    }
    HRESULT STDMETHODCALLTYPE get_PlotConfigurations(IVeltPlotConfigurations** out) override
    {
        return forward(&IVeltDatabase::get_PlotConfigurations, out);
    }
    HRESULT STDMETHODCALLTYPE get_Preferences(IVeltDatabasePreferences** out) override
    {
        return forward(&IVeltDatabase::get_Preferences, out);
    }
    HRESULT STDMETHODCALLTYPE get_FileDependencies(IVeltFileDependencies** out) override
    {
        return forward(&IVeltDatabase::get_FileDependencies, out);
    }
    HRESULT STDMETHODCALLTYPE get_SummaryInfo(IVeltSummaryInfo** out) override
    {
        return forward(&IVeltDatabase::get_SummaryInfo, out);
    }
    HRESULT STDMETHODCALLTYPE get_SectionManager(IVeltSectionManager** out) override
    {
        return forward(&IVeltDatabase::get_SectionManager, out);
    }
    HRESULT STDMETHODCALLTYPE get_Materials(IVeltMaterials** out) override
    {
        return forward(&IVeltDatabase::get_Materials, out);
    }

protected:
    DocumentCore document_;

private:
    template <class... Params, class... Args>
    HRESULT forward(HRESULT (STDMETHODCALLTYPE IVeltDatabase::*member)(Params...), Args... args)
    {
        IVeltDatabase* held = document_.heldDatabase();
        if (!held) return E_FAIL;
        return (held->*member)(args...);
    }
};

template <class Self, class Base>
class DocumentMembers : public Base {
public:
    HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) override { return this->document_.name(name); }
    HRESULT STDMETHODCALLTYPE put_Name(BSTR name) override { return this->document_.setName(name); }
    HRESULT STDMETHODCALLTYPE Open(BSTR fileName, VARIANT password) override
    {
        return this->document_.open(fileName, password);
    }
    HRESULT STDMETHODCALLTYPE Save() override { return this->document_.save(); }
    HRESULT STDMETHODCALLTYPE SaveAs(BSTR fileName, VARIANT securityParams) override
    {
        return this->document_.saveAs(fileName, securityParams);
    }
    HRESULT STDMETHODCALLTYPE DxfIn(BSTR fileName, VARIANT logFileName) override
    {
        return this->document_.dxfIn(fileName, logFileName);
    }
    HRESULT STDMETHODCALLTYPE DxfOut(BSTR fileName, VARIANT precision, VARIANT saveThumbnailImage) override
    {
        return this->document_.dxfOut(fileName, precision, saveThumbnailImage);
    }
    HRESULT STDMETHODCALLTYPE get_Application(IDispatch** application) override
    {
        return this->document_.application(application);
    }
    HRESULT STDMETHODCALLTYPE get_Database(IVeltDatabase** database) override
    {
        return this->document_.database(database);
    }
};

template <class Self, class Base>
struct Level<IKxDbDocument, Self, Base> {
    using type = DocumentMembers<Self, Pending<IKxDbDocument, Base>>;
};

class CKxDbDocument : public Wrapper<KxDbDocumentTag, IKxDbDocument, KxDbDocumentTag::SourceInterface> {
public:
    HRESULT finalConstruct() { return document_.construct(static_cast<IUnknown*>(static_cast<IKxDbDocument*>(this))); }
};

template <>
struct ImplOf<KxDbDocumentTag> {
    using type = CKxDbDocument;
};

}  // namespace nk
