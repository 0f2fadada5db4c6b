// Catches every exception of the library by its own type, by TelvarException and by std::exception;
// standard exceptions and those of the host's own loader arrive as themselves.

#include <TelvarTypes/TelvarTypes.h>
#include <TelvarWrappers/CreateWrapperFactory.h>
#include <dlfcn.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>
#include <typeinfo>
#include <vector>

#include "scripted_engine/script.h"
#include "telvar/exceptions.h"

using namespace Orbalt::TelvarWrapper;
namespace engine = telvar::types;

namespace {

int faults = 0;

struct HostFailure {
  std::string text;
};

struct Operation {
  std::string name;  // of the engine's call
  std::function<void()> run;
};

template <typename Caught>
bool Catches(const Operation& operation, const std::type_info& exact) {
  try {
    operation.run();
  } catch (const Caught& caught) {
    return typeid(caught) == exact;
  } catch (...) {
  }
  return false;
}

void Check(bool good, const Operation& operation, const char* what, const std::type_info& type) {
  if (good) return;
  ++faults;
  std::printf("%s: %s is not caught by %s\n", operation.name.c_str(), type.name(), what);
}

/// `engine_error` in the operation's engine call must reach this host as a `Library`.
template <typename Library, typename EngineError>
void ExpectMapped(const Operation& operation, const EngineError& engine_error) {
  const std::type_info& exact = typeid(Library);
  const auto caught_by = [&](auto catches) {
    scripted_engine::fail(operation.name, engine_error);
    return catches(operation, exact);
  };
  Check(caught_by(Catches<Library>), operation, "its own type", exact);
  Check(caught_by(Catches<TelvarException>), operation, "TelvarException", exact);
  Check(caught_by(Catches<std::exception>), operation, "std::exception", exact);
}

template <typename Error>
void ExpectUnchanged(const Operation& operation, const Error& error) {
  scripted_engine::fail(operation.name, error);
  Check(Catches<Error>(operation, typeid(Error)), operation, "its own type", typeid(Error));
}

void CheckOperation(const Operation& operation) {
  const std::string text = "which was refused";
  ExpectMapped<InvalidArgumentException>(operation, engine::invalid_parameters(text));
  ExpectMapped<InvalidImageException>(operation, engine::invalid_image(text));
  ExpectMapped<InvalidImageSizeException>(operation, engine::invalid_image_size(text));
  ExpectMapped<InvalidLabelException>(operation, engine::invalid_label(text));
  ExpectMapped<InvalidOperationException>(operation, engine::write_error(text));
  ExpectMapped<InvalidROIException>(operation, engine::invalid_roi(text));
  ExpectMapped<InvalidTrainingArtifactException>(operation, engine::read_error(text));
  ExpectMapped<UnsupportedTrainingArtifactVersionException>(
      operation, engine::training_artifact_unsupported_version(text));
  ExpectUnchanged(operation, std::bad_alloc());
  ExpectUnchanged(operation, std::out_of_range(text));
  ExpectUnchanged(operation, std::system_error(std::make_error_code(std::errc::io_error)));
}

void CheckLoader(const std::string& name,
                 const std::function<void(const Types::ImageLoader&)>& run) {
  const auto loader = [](const std::string&) -> std::shared_ptr<Types::Image> {
    throw HostFailure{"the camera is off"};
  };
  const Operation operation{name, [&] { run(loader); }};
  Check(Catches<HostFailure>(operation, typeid(HostFailure)), operation, "its own type",
        typeid(HostFailure));
  const Operation without{name, [&] { run(nullptr); }};
  Check(Catches<std::bad_function_call>(without, typeid(std::bad_function_call)), without,
        "its own type", typeid(std::bad_function_call));
}

std::shared_ptr<Types::Image> HostImage(const std::string&) {
  return Types::MakeImage({4, 2, 4, 1, 8, 0}, std::vector<unsigned char>(8, 128));
}

void CheckTools(Types::IWrapperFactory& factory) {
  const auto ocr = factory.CreateSmartOCRWrapper(std::make_unique<Types::SmartOCR::Data>("a", ""));
  const auto classifier =
      factory.CreateSmartClassifierWrapper(std::make_unique<Types::SmartClassifier::Data>("a", ""));
  const auto segmenter =
      factory.CreateSmartSegmenterWrapper(std::make_unique<Types::SmartSegmenter::Data>("a", ""));

  const std::shared_ptr<Types::Image> image = HostImage("");
  CheckOperation({"ocr.process", [&] { ocr->Process(image, nullptr, {10.0f, 20.0f}); }});
  CheckOperation({"classifier.process", [&] { classifier->Process(image); }});
  CheckOperation({"segmenter.process", [&] { segmenter->Process(image, nullptr); }});
  CheckOperation({"ocr.train", [&] { ocr->Train({}, HostImage); }});
  CheckOperation({"classifier.train", [&] { classifier->Train({}, HostImage); }});
  CheckOperation({"segmenter.train", [&] { segmenter->Train({}, HostImage, HostImage); }});
  CheckOperation({"classifier.batch", [&] { classifier->BatchProcess({}, HostImage); }});
  CheckOperation({"segmenter.batch", [&] { segmenter->BatchProcess({}, HostImage); }});

  scripted_engine::script().ask_images = {"image"};
  CheckLoader("ocr.train", [&](const auto& loader) { ocr->Train({}, loader); });
  CheckLoader("classifier.train", [&](const auto& loader) { classifier->Train({}, loader); });
  CheckLoader("segmenter.train",
              [&](const auto& loader) { segmenter->Train({}, loader, HostImage); });
  CheckLoader("classifier.batch",
              [&](const auto& loader) { classifier->BatchProcess({}, loader); });
  CheckLoader("segmenter.batch", [&](const auto& loader) { segmenter->BatchProcess({}, loader); });
}

}  // namespace

int main() {
  void* library = dlopen(LIBRARY, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::printf("%s\n", dlerror());
    return 1;
  }
  const auto create =
      reinterpret_cast<CreateWrapperFactoryFunction>(dlsym(library, kCreateWrapperFactoryName));
  std::shared_ptr<Types::IWrapperFactory> factory;
  create(factory);
  CheckTools(*factory);
  std::printf("%zu engine calls, %d faults\n", scripted_engine::script().calls.size(), faults);
  return faults == 0 && scripted_engine::count("segmenter.batch") > 0 ? 0 : 1;
}
