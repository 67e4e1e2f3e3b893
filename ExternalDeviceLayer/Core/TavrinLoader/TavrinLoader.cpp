// Loading at run time lets one binary drive whichever library the machine has, and report where there is none.
#include "TavrinLoader.h"

#include <dlfcn.h>

#include <algorithm>

#include "OsServices.h"
#include "TavrinOperations.h"

void (*g_pfnTavrinCallObserver)(const KCHAR8* pszOperation) = nullptr;

namespace
{
void* s_pvLibrary = nullptr;

// The address of an operation in the library, null while none is loaded.
template <auto pfOperation> void* s_pvAddress = nullptr;

struct SOperation
{
    const KCHAR8* pszName;
    void**        ppvAddress;
};

// Looked up in this order; the first that is missing is the one that is reported.
#define ROW(Result, Name, Parameters, Arguments) {#Name, &s_pvAddress<Name>},
constexpr SOperation OPERATIONS[] = {TAVRIN_OPERATION_TABLE(ROW)};

// What an operation returns while no library is loaded.
template <class TResult> constexpr TResult UNLOADED          = {};
template <> constexpr TStatus              UNLOADED<TStatus> = TStatus_FAIL;

// Calls a function in the library. The name is told to the observer, if there is one.
template <class TFunction, class... TArguments>
auto CallObserved(const KCHAR8* pszName, TFunction pfnFunction, TArguments... arguments)
{
    g_pfnTavrinCallObserver(pszName);
    const auto tResult = pfnFunction(arguments...);
    g_pfnTavrinCallObserver(nullptr);
    return tResult;
}

// Calls an operation in the library.
template <auto pfOperation, class... TArguments> auto Call(TArguments... arguments)
{
    if (s_pvAddress<pfOperation> == nullptr)
        return UNLOADED<decltype(pfOperation(arguments...))>;

    const auto pfnOperation = reinterpret_cast<decltype(pfOperation)>(s_pvAddress<pfOperation>);
    if (g_pfnTavrinCallObserver == nullptr) [[likely]]
        return pfnOperation(arguments...);

    const auto fIsCalled = [](const SOperation& ro) { return ro.ppvAddress == &s_pvAddress<pfOperation>; };
    return CallObserved(std::ranges::find_if(OPERATIONS, fIsCalled)->pszName, pfnOperation, arguments...);
}

// A library may export a load and an unload of its own, and depend on them. Their results are ignored. dlsym searches that
// library alone, so it never finds the two functions of these names below.
void CallOwn(const KCHAR8* pszName)
{
    const auto pfnOwn = reinterpret_cast<TStatus (*)()>(dlsym(s_pvLibrary, pszName));
    if (pfnOwn == nullptr)
        return;
    if (g_pfnTavrinCallObserver == nullptr)
        pfnOwn();
    else
        CallObserved(pszName, pfnOwn);
}
}

std::vector<const KCHAR8*> GetTavrinOperationNames()
{
    std::vector<const KCHAR8*> apszNames;
    for (const SOperation& roOperation : OPERATIONS)
        apszNames.push_back(roOperation.pszName);
    return apszNames;
}

TStatus Tavrin_Load(void)
{
    if (s_pvLibrary != nullptr)
        return TStatus_OK;

    s_pvLibrary = dlopen(TAVRIN_LIBRARY_NAME, RTLD_NOW | RTLD_LOCAL);
    if (s_pvLibrary == nullptr)
    {
        // The reason may hold a long path. It is cut so that the line keeps its end.
        OsServices::WriteErrorMsg("Cannot load %s: %.160s\n", TAVRIN_LIBRARY_NAME, dlerror());
        return TStatus_FAIL;
    }

    CallOwn("Tavrin_Load");
    for (const SOperation& roOperation : OPERATIONS)
    {
        *roOperation.ppvAddress = dlsym(s_pvLibrary, roOperation.pszName);
        if (*roOperation.ppvAddress == nullptr)
        {
            OsServices::WriteErrorMsg("Cannot use %s: it has no %s\n", TAVRIN_LIBRARY_NAME, roOperation.pszName);
            Tavrin_UnLoad();
            return TStatus_FAIL;
        }
    }
    return TStatus_OK;
}

TStatus Tavrin_UnLoad(void)
{
    for (const SOperation& roOperation : OPERATIONS)
        *roOperation.ppvAddress = nullptr;

    if (s_pvLibrary != nullptr)
    {
        CallOwn("Tavrin_UnLoad");
        dlclose(s_pvLibrary);
    }
    s_pvLibrary = nullptr;
    return TStatus_OK;
}

// The other operations. Each passes its arguments on.
#define PASS_ON(Result, Name, Parameters, Arguments) \
    Result Name Parameters                           \
    {                                                \
        return Call<Name> Arguments;                 \
    }
TAVRIN_OPERATION_TABLE(PASS_ON)
