#include "objects/document.h"

#include <new>
#include <string>

#include "core/call.h"
#include "core/lookup.h"
#include "dxf/dxffile.h"
#include "services/hostservices.h"
#include "services/linkmanager.h"

namespace nk {
namespace {

const IID& kDocumentIid = __uuidof(IKxDbDocument);

bool isMissing(const VARIANT& v) { return V_VT(&v) == VT_ERROR && V_ERROR(&v) == DISP_E_PARAMNOTFOUND; }

const VARIANT& referredTo(const VARIANT& v)
{
    if (V_VT(&v) == (VT_BYREF | VT_VARIANT) && V_VARIANTREF(&v)) return *V_VARIANTREF(&v);
    return v;
}

Bstr copyOf(BSTR text)
{
    if (!text) return {};
    return Bstr::adopt(SysAllocStringByteLen(reinterpret_cast<const char*>(text), SysStringByteLen(text)));
}

std::unique_ptr<kx::VxDbDatabase> newDatabase(bool withDefaultDrawing)
{
    try {
        return std::make_unique<kx::VxDbDatabase>(withDefaultDrawing, false);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

// The host's working database for the length of a scope.
class WorkingDatabase {
public:
    explicit WorkingDatabase(kx::VxDbDatabase* database)
        : services_(kx::vxdbHostApplicationServices()), previous_(services_->workingDatabase())
    {
        services_->setWorkingDatabase(database);
    }
    WorkingDatabase(const WorkingDatabase&) = delete;
    WorkingDatabase& operator=(const WorkingDatabase&) = delete;
    ~WorkingDatabase() { services_->setWorkingDatabase(previous_); }

private:
    kx::VxDbHostApplicationServices* services_;
    kx::VxDbDatabase* previous_;
};

// The security settings of a save, as the database's save takes them.
struct SecurityRecord {
    DWORD size = sizeof(SecurityRecord);
    DWORD action = 0;
    const wchar_t* password = nullptr;
    DWORD providerType = 0;
    const wchar_t* providerName = nullptr;
    DWORD algorithm = 0;
    DWORD keyLength = 0;
    const wchar_t* subject = nullptr;
    const wchar_t* issuer = nullptr;
    const wchar_t* serialNumber = nullptr;
    const wchar_t* comment = nullptr;
    const wchar_t* timeServer = nullptr;
};
static_assert(sizeof(SecurityRecord) == 80);

// Reads a security-parameters object into a record; the strings stay owned here.
class SecuritySettings {
public:
    explicit SecuritySettings(IVeltSecurityParams* params)
    {
        // Values the object cannot give stay empty.
        VeltSecurityParamsType action{};
        if (SUCCEEDED(params->get_Action(&action))) record_.action = DWORD(action);
        LONG number = 0;
        if (SUCCEEDED(params->get_ProviderType(&number))) record_.providerType = DWORD(number);
        VeltSecurityParamsConstants algorithm{};
        if (SUCCEEDED(params->get_Algorithm(&algorithm))) record_.algorithm = DWORD(algorithm);
        number = 0;
        if (SUCCEEDED(params->get_KeyLength(&number))) record_.keyLength = DWORD(number);
        record_.password = text(params, &IVeltSecurityParams::get_Password, password_);
        record_.providerName = text(params, &IVeltSecurityParams::get_ProviderName, providerName_);
        record_.subject = text(params, &IVeltSecurityParams::get_Subject, subject_);
        record_.issuer = text(params, &IVeltSecurityParams::get_Issuer, issuer_);
        record_.serialNumber = text(params, &IVeltSecurityParams::get_SerialNumber, serialNumber_);
        record_.comment = text(params, &IVeltSecurityParams::get_Comment, comment_);
        record_.timeServer = text(params, &IVeltSecurityParams::get_TimeServer, timeServer_);
    }

    const SecurityRecord* record() const { return &record_; }

private:
    using TextMember = HRESULT (STDMETHODCALLTYPE IVeltSecurityParams::*)(BSTR*);
    static const wchar_t* text(IVeltSecurityParams* params, TextMember get, Bstr& holder)
    {
        if (FAILED((params->*get)(holder.put()))) holder = Bstr();
        return holder.get();
    }

    SecurityRecord record_;
    Bstr password_, providerName_, subject_, issuer_, serialNumber_, comment_, timeServer_;
};

}  // namespace

HRESULT DocumentCore::construct(IUnknown* identity)
{
    identity_ = identity;
    std::unique_ptr<kx::VxDbDatabase> database = newDatabase(true);
    if (!database) return E_OUTOFMEMORY;
    // A document whose database has no wrapper still exists; its database members answer E_FAIL.
    adopt(std::move(database));
    return S_OK;
}

HRESULT DocumentCore::adopt(std::unique_ptr<kx::VxDbDatabase> database)
{
    database_ = std::move(database);
    kx::VxDbDatabase* db = database_.get();
    kx::VxAxOleLinkManager* links = kx::VxAxGetOleLinkManager();

    ComPtr<IUnknown> wrapper;
    if (links) wrapper = static_cast<IUnknown*>(links->getIUnknown(db));
    HRESULT hr = S_OK;
    if (!wrapper) {
        if (FAILED(createWrapper(CLSID_VeltDatabase, wrapper.put())) || !wrapper) {
            hr = CO_E_SERVER_EXEC_FAILURE;
        } else if (auto bind = wrapper.as<IVeltBaseDatabase>(); !bind) {
            hr = E_NOINTERFACE;
        } else if (FAILED(bind->SetDatabase(db))) {
            hr = E_POINTER;
        } else {
            if (auto retrieve = wrapper.as<IRetrieveApplication>()) retrieve->SetApplicationObject(app_.get());
            if (links) links->setIUnknown(db, wrapper.get());
        }
    }
    if (SUCCEEDED(hr)) {
        wrapper_ = wrapper.as<IVeltDatabase>();
        if (!wrapper_) hr = E_NOINTERFACE;
    }
    if (links) links->setDocument(db, identity_);
    return hr;
}

void DocumentCore::tearDown()
{
    if (kx::VxDbDatabase* db = database_.get()) {
        if (kx::VxAxOleLinkManager* links = kx::VxAxGetOleLinkManager()) {
            if (links->getDocument(db) == identity_) links->setDocument(db, nullptr);
            links->setIUnknown(db, nullptr);
        }
    }
    // A client may still hold the wrapper: it must no longer reach the database.
    if (wrapper_) {
        if (auto bind = wrapper_.as<IVeltBaseDatabase>()) bind->SetDatabase(nullptr);
        wrapper_.reset();
    }
    name_ = Bstr();
    database_.reset();
}

HRESULT DocumentCore::name(BSTR* name)
{
    if (!name) return E_POINTER;
    *name = nullptr;
    if (!name_.get()) return S_OK;
    *name = copyOf(name_.get()).detach();
    return *name ? S_OK : E_OUTOFMEMORY;
}

HRESULT DocumentCore::setName(BSTR name)
{
    Bstr copy = copyOf(name);
    if (name && !copy.get()) return E_OUTOFMEMORY;
    name_ = std::move(copy);
    return S_OK;
}

HRESULT DocumentCore::open(BSTR fileName, const VARIANT& password)
{
    return guarded(kDocumentIid, [&] {
        std::unique_ptr<kx::VxDbDatabase> read = newDatabase(false);
        if (!read) return E_OUTOFMEMORY;
        Variant passwordText;
        const wchar_t* passwordChars = nullptr;
        if (!isMissing(password)) {
            HRESULT hr = VariantChangeType(passwordText.get(), const_cast<VARIANT*>(&password), 0, VT_BSTR);
            if (FAILED(hr)) return hr;
            passwordChars = V_BSTR(passwordText.get());
        }
        constexpr int kDenyWrite = 0x20;
        if (kx::vxdbReadDwgFile(read.get(), fileName, kDenyWrite, false, passwordChars) != kx::Velt::eOk)
            return E_FAIL;
        tearDown();
        name_ = copyOf(fileName);
        adopt(std::move(read));
        return S_OK;
    });
}

HRESULT DocumentCore::save()
{
    if (name_.length() == 0) return E_FAIL;
    if (kx::VxDbDatabase* db = database_.get()) {
        const std::wstring& file = db->filename();
        if (!file.empty() && CompareStringW(LOCALE_USER_DEFAULT, 0, file.c_str(), int(file.size()), name_.get(),
                                            int(name_.length())) == CSTR_EQUAL) {
            // Saving over the file the drawing came from answers the other way round:
            // E_FAIL when the save worked, S_OK when it did not. Clients depend on it.
            const bool saved = kx::vxdbSaveAs(db, name_.get(), true, kx::VxDb::kSaveR2018) == kx::Velt::eOk;
            return saved ? E_FAIL : S_OK;
        }
    }
    Variant noSecurity;
    V_VT(noSecurity.get()) = VT_ERROR;
    V_ERROR(noSecurity.get()) = DISP_E_PARAMNOTFOUND;
    return saveAs(name_.get(), *noSecurity.get());
}

HRESULT DocumentCore::saveAs(BSTR fileName, const VARIANT& securityParams)
{
    if (!fileName) return E_INVALIDARG;
    return guarded(kDocumentIid, [&] {
        std::unique_ptr<SecuritySettings> security;
        const VARIANT& given = referredTo(securityParams);
        if (!isMissing(given) && (V_VT(&given) & VT_DISPATCH) != 0) {
            IUnknown* object = nullptr;
            switch (V_VT(&given)) {
            case VT_DISPATCH: object = V_DISPATCH(&given); break;
            case VT_UNKNOWN: object = V_UNKNOWN(&given); break;
            case VT_DISPATCH | VT_BYREF: object = V_DISPATCHREF(&given) ? *V_DISPATCHREF(&given) : nullptr; break;
            case VT_UNKNOWN | VT_BYREF: object = V_UNKNOWNREF(&given) ? *V_UNKNOWNREF(&given) : nullptr; break;
            case VT_NULL: break;
            default: return E_INVALIDARG;  // a value that holds no object
            }
            if (object) {
                ComPtr<IVeltSecurityParams> params;
                if (FAILED(object->QueryInterface(__uuidof(IVeltSecurityParams), params.putVoid())) || !params)
                    return E_INVALIDARG;
                security = std::make_unique<SecuritySettings>(params.get());
            }
        }
        const kx::Velt::ErrorStatus es = kx::vxdbSaveAs(database_.get(), fileName, true, kx::VxDb::kSaveR2018,
                                                        security ? security->record() : nullptr);
        return es == kx::Velt::eOk ? S_OK : E_FAIL;
    });
}

HRESULT DocumentCore::dxfIn(BSTR fileName, const VARIANT& logFileName)
{
    return guarded(kDocumentIid, [&] {
        std::unique_ptr<kx::VxDbDatabase> read = newDatabase(false);
        if (!read) return E_OUTOFMEMORY;
        // A log file is not written: naming one is refused before anything is read.
        if (!isMissing(logFileName)) return E_INVALIDARG;
        if (kx::vxdbDxfIn(read.get(), fileName, nullptr) != kx::Velt::eOk) return E_FAIL;
        tearDown();
        name_ = copyOf(fileName);
        const HRESULT hr = adopt(std::move(read));
        return SUCCEEDED(hr) && wrapper_ ? S_OK : E_FAIL;
    });
}

HRESULT DocumentCore::dxfOut(BSTR, const VARIANT& precision, const VARIANT& saveThumbnailImage)
{
    return guarded(kDocumentIid, [&] {
        int digits = 0;
        if (!isMissing(precision)) {
            Variant value;
            if (FAILED(VariantCopyInd(value.get(), const_cast<VARIANT*>(&precision)))) throw E_INVALIDARG;
            if (value.type() == VT_I2) digits = V_I2(value.get());
            else if (value.type() == VT_I4) digits = V_I4(value.get());
            else throw E_INVALIDARG;
        }
        bool thumbnail = false;
        if (!isMissing(saveThumbnailImage)) {
            Variant value;
            if (FAILED(VariantCopyInd(value.get(), const_cast<VARIANT*>(&saveThumbnailImage))) ||
                value.type() != VT_BOOL)
                throw E_INVALIDARG;
            thumbnail = static_cast<USHORT>(V_BOOL(value.get())) == 0xFFFF;
        }
        // The file written is always the document's own: the name argument is not used.
        WorkingDatabase working(database_.get());
        check(kx::vxdbDxfOut(database_.get(), name_.get(), digits, kx::VxDb::kSaveR2018, thumbnail));
        return S_OK;
    });
}

HRESULT DocumentCore::application(IDispatch** application)
{
    if (!application) return E_POINTER;
    *application = app_.get();
    if (*application) (*application)->AddRef();
    return S_OK;
}

HRESULT DocumentCore::database(IVeltDatabase** database)
{
    if (!database) return E_POINTER;
    *database = wrapper_.get();
    if (*database) (*database)->AddRef();
    return S_OK;
}

}  // namespace nk
