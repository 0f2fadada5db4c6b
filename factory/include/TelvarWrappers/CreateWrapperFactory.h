#pragma once

// The one function that TelvarWrappers exports. Link against the library and call it, or load the
// library at run time:
//
//   void* library = dlopen("libTelvarWrappers.so.1", RTLD_NOW);
//   auto create = reinterpret_cast<CreateWrapperFactoryFunction>(
//       dlsym(library, kCreateWrapperFactoryName));
//   std::shared_ptr<Types::IWrapperFactory> factory;
//   create(factory);
//
// Unload the library only after the last factory, tool and result that came from it is gone.

#include <memory>

#include "TelvarTypes/TelvarTypes.h"

#if defined(_WIN32)
#if defined(TELVAR_WRAPPERS_BUILDING)
#define TELVAR_WRAPPERS_API __declspec(dllexport)
#else
#define TELVAR_WRAPPERS_API __declspec(dllimport)
#endif
#else
#define TELVAR_WRAPPERS_API __attribute__((visibility("default")))
#endif

/// Replaces what `factory` holds by a new factory, independent of all others. May be called from
/// any thread. Throws std::bad_alloc; `factory` is then as before.
extern "C" TELVAR_WRAPPERS_API void CreateWrapperFactory(
    std::shared_ptr<Orbalt::TelvarWrapper::Types::IWrapperFactory>& factory);

namespace Orbalt::TelvarWrapper {

/// The type of CreateWrapperFactory and its name in the library, for loading at run time.
using CreateWrapperFactoryFunction = void (*)(std::shared_ptr<Types::IWrapperFactory>&);
inline constexpr char kCreateWrapperFactoryName[] = "CreateWrapperFactory";

}  // namespace Orbalt::TelvarWrapper
