// Every exported function of the interface, taken by address with its exact
// signature, and every exported constructor and destructor, used: a changed
// signature fails to compile and a lost export fails to link. The values of
// the result codes are pinned beside them.
#include "QdxDesktopSDK.h"
// Exported too, though no installed header declares them.
#include "values/JsonValueConversion.h"
#include "values/JsonValueImpl.h"
#include "values/QdxStringImpl.h"

#include <set>
#include <string>
#include <utility>

using namespace Norvane::QDXDesktopSDK;
namespace UI = Norvane::QDXDesktopSDKUI;
namespace Glint = Norvane::QDXGlint;

namespace {

// Applications built earlier compare the results with these numbers.
static_assert(QdxResult_Success == 0 && QdxResult_CompanionNotLoaded == 1 && QdxResult_NoReturnCode == 2 &&
                  QdxResult_InvalidArgument == 3 && QdxResult_NoEntryPoint == 8 && QdxResult_Disabled == 12,
              "the result codes are part of the interface");

// Stored where the optimiser must keep it, so that the program refers to the symbol.
template <typename Pointer> void Keep(Pointer pointer)
{
    [[maybe_unused]] static Pointer volatile kept;
    kept = pointer;
}

#define FREE(name, ...) Keep(static_cast<__VA_ARGS__>(&name))
#define METHOD(name, ...) Keep(static_cast<__VA_ARGS__>(&name))

void FreeFunctions()
{
    FREE(Initialize, unsigned int (*)(Facet::Product const&, QdxString&));
    FREE(TrackEvent, unsigned int (*)(QdxString const&, Facet::Core const&, JsonValue const*));
    FREE(SetUserInformation, unsigned int (*)(Facet::User const&));
    FREE(SetGroupInformation, unsigned int (*)(QdxString const&, Facet::User const&));
    FREE(UnInitialize, unsigned int (*)(QdxString const&));
    FREE(IsOptedIn, unsigned int (*)(JsonValue*));
    FREE(SetOptedIn, unsigned int (*)(JsonValue const&));
    FREE(IsDialogShown, unsigned int (*)());
    FREE(SetPXDialogShown, unsigned int (*)(bool, JsonValue const&));
    FREE(SyncUserConsent, unsigned int (*)(JsonValue const&));
    FREE(IsDialogStringsAvailable, unsigned int (*)(QdxString const&));
    FREE(GetPXDialogStrings, unsigned int (*)(QdxString const&, JsonValue&));
    FREE(IsQDXDisabled, bool (*)());
    FREE(DisableQDX, unsigned int (*)());
    FREE(SetInstallerMode, unsigned int (*)());

    FREE(FlushEvent, unsigned int (*)(JsonValue const*));
    FREE(HeartBeat, unsigned int (*)(QdxString const&, HeartBeatType));
    FREE(OnCrash, unsigned int (*)(QdxString const&, unsigned int, long long, long long, QdxString const&));
    FREE(UpdateLiFlow, unsigned int (*)(LiFlowType, JsonValue const*));
    FREE(UpdateLiData, unsigned int (*)(LiUpdateType, JsonValue const*));
    FREE(SetCloseTimeoutOnProductClose, unsigned int (*)(long long));
    FREE(IsCollectionEnabled, unsigned int (*)(QdxString const&, QdxString const&, QdxString const&, JsonValue const*));
    FREE(GetDeviceID, unsigned int (*)(QdxString&));
    FREE(GetTOVDeviceID, unsigned int (*)(QdxString&));
    FREE(GetSHA256Hash, unsigned int (*)(void const*, int, QdxString&));
    FREE(SetHostProduct, bool (*)(QdxString const&));
    FREE(GetVersion, long long (*)(VersionType, char const*, bool));

    FREE(UI::DisplayPXDialog, unsigned int (*)(QdxString const&, bool, void*));
    FREE(UI::DisplayWebDialog, unsigned int (*)(JsonValue const&, void*));
    FREE(Glint::EnableGlint, unsigned int (*)(QdxString const&, bool, JsonValue const*));
    FREE(Glint::QueryGlintService, unsigned int (*)(QdxString const&, JsonValue const&, JsonValue&));
    FREE(Glint::RegisterGlintCallback, unsigned int (*)(QdxString const&, int (*)(char const*, void*), void*));
    FREE(Glint::GetGlintLibraryMessageSender, LibraryMessageSenderQDXSDKWrapper * (*)());

    FREE(InternalProcessMessage, unsigned int (*)(QdxString const&, JsonValue&));
    FREE(SetTestingFlags, unsigned int (*)(QdxString const&, JsonValue const&));
    FREE(SetTestingCallback, unsigned int (*)(QdxString const&, int (*)(JsonValue const&, void*, JsonValue&), void*));
    FREE(GetLibraryMessageSender, LibraryMessageSenderQDXSDKWrapper * (*)());
    FREE(GetUILibraryMessageSender, LibraryMessageSenderQDXSDKWrapper * (*)());
    FREE(SetLibraryPath, void (*)(QdxString const&));
    FREE(OnShutdown, void (*)());

    FREE(operator<, bool (*)(QdxString const&, QdxString const&));
    FREE(operator==, bool (*)(QdxString const&, QdxString const&));
    FREE(operator!=, bool (*)(QdxString const&, QdxString const&));
    FREE(operator+, QdxString(*)(QdxString const&, QdxString const&));
    FREE(JsonValue_GetValueFromKeys, JsonValue const& (*)(JsonValue const&, std::string const&, int, char const*));
    FREE(JsonValue_GetValueFromKeys, JsonValue & (*)(JsonValue&, std::string const&, int, char const*));
    FREE(JsonValueConversion::GetJsonData, void (*)(void*, void*, JsonValueImpl const*));
    FREE(JsonValueConversion::GetJsonString, std::string(*)(JsonValueImpl const*));
    FREE(JsonValueConversion::FromJsonData, void (*)(JsonValueImpl&, void const*));
    FREE(JsonValueConversion::UpdateFromJsonData, void (*)(JsonValue&, void const*));
    FREE(JsonValueConversion::FromString, bool (*)(std::string const&, JsonValueImpl&));

#define FACET(Class)                                                                                                   \
    FREE(Facet::New_##Class, Facet::Base* (*)(int const&, void*));                                                     \
    FREE(Facet::Class::FacetName, char const* (*)())
    FACET(Product);
    FACET(Geo);
    FACET(Content);
    FACET(Http);
    FACET(Browser);
    FACET(Operation);
    FACET(Entitlement);
    FACET(Device);
    FACET(User);
    FACET(Component);
#undef FACET
    FREE(Facet::Core::FacetName, char const* (*)());
}

void MemberFunctions()
{
    METHOD(QdxString::operator=, QdxString & (QdxString::*)(QdxString const&));
    METHOD(QdxString::operator=, QdxString & (QdxString::*)(QdxString &&) noexcept);
    METHOD(QdxString::SetString, void(QdxString::*)(char const*));
    METHOD(QdxString::SetStringW, void(QdxString::*)(wchar_t const*));
    METHOD(QdxString::c_str, char const* (QdxString::*)() const);
    METHOD(QdxString::c_strw, wchar_t const* (QdxString::*)() const);
    METHOD(QdxString::size, std::size_t(QdxString::*)() const);
    METHOD(QdxString::operator[], unsigned char (QdxString::*)(int) const);
    METHOD(QdxString::compare, int(QdxString::*)(QdxString const&) const);
    METHOD(QdxString::Trim, QdxString(QdxString::*)(QdxString const&, bool, bool) const);
    METHOD(QdxString::append, void(QdxString::*)(QdxString const&));

    METHOD(JsonValue::operator=, JsonValue & (JsonValue::*)(JsonValue const&));
    METHOD(JsonValue::operator=, JsonValue & (JsonValue::*)(JsonValue &&) noexcept);
    METHOD(JsonValue::SetString, void(JsonValue::*)(char const*));
    METHOD(JsonValue::Clear, void(JsonValue::*)());
    METHOD(JsonValue::operator bool, bool (JsonValue::*)() const);
    METHOD(JsonValue::operator double, double (JsonValue::*)() const);
    METHOD(JsonValue::operator long long, long long (JsonValue::*)() const);
    METHOD(JsonValue::operator int, int (JsonValue::*)() const);
    METHOD(JsonValue::operator QdxString, QdxString(JsonValue::*)() const);
    METHOD(JsonValue::GetCount, int(JsonValue::*)() const);
    METHOD(JsonValue::IsArray, bool(JsonValue::*)() const);
    METHOD(JsonValue::HasKey, bool(JsonValue::*)(QdxString const&) const);
    METHOD(JsonValue::operator[], JsonValue const& (JsonValue::*)(QdxString const&) const);
    METHOD(JsonValue::operator[], JsonValue & (JsonValue::*)(QdxString const&));
    METHOD(JsonValue::operator[], JsonValue const& (JsonValue::*)(int) const);
    METHOD(JsonValue::operator[], JsonValue & (JsonValue::*)(int));
    METHOD(JsonValue::GetKeyList, JsonValue(JsonValue::*)() const);
    METHOD(JsonValue::RemoveKey, bool(JsonValue::*)(QdxString const&));
    METHOD(JsonValue::Remove, int(JsonValue::*)(int, int));
    METHOD(JsonValue::Insert, int(JsonValue::*)(JsonValue const&, int, bool));
    METHOD(JsonValue::Find, JsonValue(JsonValue::*)(JsonValue const&) const);
    METHOD(JsonValue::Compare, int(JsonValue::*)(JsonValue const&) const);
    METHOD(JsonValue::Merge, bool(JsonValue::*)(JsonValue const&, bool));
    METHOD(JsonValue::GetJsonString, QdxString(JsonValue::*)() const);
    METHOD(JsonValue::FromJsonString, bool(JsonValue::*)(QdxString const&));

    METHOD(JsonValueImpl::operator bool, bool (JsonValueImpl::*)() const);
    METHOD(JsonValueImpl::operator[], JsonValue const& (JsonValueImpl::*)(int) const);
    METHOD(JsonValueImpl::operator[], JsonValue & (JsonValueImpl::*)(int));
    METHOD(JsonValueImpl::operator[], JsonValue const& (JsonValueImpl::*)(std::string const&) const);
    METHOD(JsonValueImpl::operator[], JsonValue & (JsonValueImpl::*)(std::string const&));
    METHOD(JsonValueImpl::GetCount, int(JsonValueImpl::*)() const);
    METHOD(JsonValueImpl::IsArray, bool(JsonValueImpl::*)() const);
    METHOD(JsonValueImpl::HasKey, bool(JsonValueImpl::*)(std::string const&) const);
    METHOD(JsonValueImpl::RemoveKey, bool(JsonValueImpl::*)(std::string const&));
    METHOD(JsonValueImpl::Remove, int(JsonValueImpl::*)(int, int));
    METHOD(JsonValueImpl::Insert, int(JsonValueImpl::*)(JsonValue const&, int, bool));
    METHOD(JsonValueImpl::Find, JsonValue(JsonValueImpl::*)(JsonValue const&) const);
    METHOD(JsonValueImpl::Compare, int(JsonValueImpl::*)(JsonValueImpl const&) const);
    METHOD(JsonValueImpl::GetKeys, std::set<QdxString>(JsonValueImpl::*)() const);
    METHOD(JsonValueImpl::GetJsonString, std::string(JsonValueImpl::*)() const);
    METHOD(JsonValueImpl::FromString, bool(JsonValueImpl::*)(std::string const&));

    METHOD(QdxStringImpl::SetString, void(QdxStringImpl::*)(char const*));
    METHOD(QdxStringImpl::GetString, char const* (QdxStringImpl::*)() const);
    METHOD(QdxStringImpl::GetStringW, std::wstring const& (QdxStringImpl::*)());
    METHOD(QdxStringImpl::size, std::size_t(QdxStringImpl::*)() const);
    METHOD(QdxStringImpl::compare, int(QdxStringImpl::*)(QdxStringImpl const&) const);
    METHOD(QdxStringImpl::operator std::string, std::string(QdxStringImpl::*)() const);
    METHOD(QdxStringImpl::operator std::string&, std::string & (QdxStringImpl::*)());

    METHOD(Facet::Base::Build, JsonValue(Facet::Base::*)(JsonValue const&) const);
    METHOD(Facet::Base::RemoveFacetEntries, void(Facet::Base::*)());
    METHOD(Facet::Core::Clone, Facet::Base * (Facet::Core::*)() const);
    METHOD(Facet::Base::operator=, Facet::Base & (Facet::Base::*)(Facet::Base const&));
    METHOD(Facet::Base::operator=, Facet::Base & (Facet::Base::*)(Facet::Base &&));
    METHOD(Facet::Base::SetJsonValue, void(Facet::Base::*)(JsonValue*, bool));
    METHOD(Facet::Base::Data, JsonValue & (Facet::Base::*)());
    METHOD(Facet::Base::Data, JsonValue const& (Facet::Base::*)() const);
    METHOD(Facet::Content::StartDocumentEditTimer, long long (Facet::Content::*)());
    METHOD(Facet::Core::operator=, Facet::Core & (Facet::Core::*)(Facet::Core &&));
    METHOD(Facet::Core::GetFacetByName, Facet::Base * (Facet::Core::*)(char const*, Facet::Core::FacetCreationAction));
    METHOD(Facet::Core::Assign, void(Facet::Core::*)(Facet::Core const&));
    METHOD(Facet::Core::Clear, void(Facet::Core::*)());

    METHOD(QdxLock::Lock, bool(QdxLock::*)());
    METHOD(QdxLock::Unlock, void(QdxLock::*)());
}

/// Constructors and destructors have no address: each exported one is used.
void ConstructorsAndDestructors()
{
    QdxString const strings[] = {QdxString(), QdxString("text"), QdxString(1.5)};
    QdxString copiedString(strings[1]);
    QdxString const movedString(std::move(copiedString));
    JsonValue const values[] = {JsonValue(),   JsonValue(1),    JsonValue(1L),  JsonValue(1LL),
                                JsonValue(1U), JsonValue(1ULL), JsonValue(1.5), JsonValue(true)};
    JsonValue copiedValue(values[1]);
    JsonValue const movedValue(std::move(copiedValue));
    JsonValueImpl const impls[] = {JsonValueImpl(), JsonValueImpl(1.5), JsonValueImpl("text"), JsonValueImpl(true)};
    JsonValueImpl const copiedImpl(impls[2]);
    QdxStringImpl const stringImpl("text");
    QdxLock lock;
    QdxAutoLock const guard(lock);
    JsonValue facetValue;
    Facet::Product const product(&facetValue, true);
    Facet::Product const copiedProduct(product);
    Facet::Core core(&facetValue, false);
    Facet::Core const movedCore(std::move(core));
    JsonValue const* const shared = &JsonValue::sNullValue;  // the one exported data member
    static_cast<void>(shared);
}

}  // namespace

int main()
{
    FreeFunctions();
    MemberFunctions();
    ConstructorsAndDestructors();
    return 0;
}
