// What a host may rely on, seen through the loaded library alone. Holds for every engine.

#include <gtest/gtest.h>

#include <TelvarTypes/TelvarTypes.h>

#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

#include "loaded_library.h"

using namespace Orbalt::TelvarWrapper;

namespace {

using EntryFunction = void(std::shared_ptr<Types::IWrapperFactory>&);

// Every test loads the library and unloads it again.
class Loaded : public testing::Test {
 protected:
  void CreateWrapperFactory(std::shared_ptr<Types::IWrapperFactory>& factory) const {
    library_.Find<EntryFunction>("CreateWrapperFactory")(factory);
  }
  std::shared_ptr<Types::IWrapperFactory> NewFactory() const {
    std::shared_ptr<Types::IWrapperFactory> factory;
    CreateWrapperFactory(factory);
    return factory;
  }

  const LoadedLibrary library_{TELVAR_WRAPPERS_LIBRARY};
};

std::shared_ptr<Types::Image> GrayImage() {
  return Types::MakeImage({64, 48, 64, 1, 8, 0}, std::vector<unsigned char>(64 * 48, 128));
}

std::shared_ptr<Types::Image> LoadGrayImage(const std::string&) {
  return GrayImage();
}

// One tool each: how a host makes it and how it processes one image.
struct Ocr {
  using Data = Types::SmartOCR::Data;
  static auto Create(Types::IWrapperFactory& factory, std::unique_ptr<Data> data) {
    return factory.CreateSmartOCRWrapper(std::move(data));
  }
  static void Process(Types::ISmartOCRWrapper& tool) {
    tool.Process(GrayImage(), nullptr, {12, 16});
  }
  static void ProcessMany(Types::ISmartOCRWrapper& tool) {
    tool.Process(GrayImage(), nullptr, {12, 16}, Types::SmartOCR::BasicFielding("0", 0));
  }
};
struct Classifier {
  using Data = Types::SmartClassifier::Data;
  static auto Create(Types::IWrapperFactory& factory, std::unique_ptr<Data> data) {
    return factory.CreateSmartClassifierWrapper(std::move(data));
  }
  static void Process(Types::ISmartClassifierWrapper& tool) { tool.Process(GrayImage()); }
  static void ProcessMany(Types::ISmartClassifierWrapper& tool) {
    tool.BatchProcess({}, LoadGrayImage);
  }
};
struct Segmenter {
  using Data = Types::SmartSegmenter::Data;
  static auto Create(Types::IWrapperFactory& factory, std::unique_ptr<Data> data) {
    return factory.CreateSmartSegmenterWrapper(std::move(data));
  }
  static void Process(Types::ISmartSegmenterWrapper& tool) { tool.Process(GrayImage(), nullptr); }
  static void ProcessMany(Types::ISmartSegmenterWrapper& tool) {
    tool.BatchProcess({}, LoadGrayImage);
  }
};

template <typename Tool>
class LoadedTool : public Loaded {
 protected:
  using Data = typename Tool::Data;

  auto Create(const std::string& artifact, const std::string& cache) const {
    // The factory is gone when the wrapper is used.
    return Tool::Create(*NewFactory(), std::make_unique<Data>(artifact, cache));
  }
};

using Tools = testing::Types<Ocr, Classifier, Segmenter>;
TYPED_TEST_SUITE(LoadedTool, Tools);

TYPED_TEST(LoadedTool, GivesItsArtifactBackByteForByte) {
  const std::string artifact("any\0bytes \xff\xfe\r\n", 14);
  EXPECT_EQ(this->Create(artifact, "")->GetData()->artifact, artifact);
}

TYPED_TEST(LoadedTool, SilentlyReplacesATrainCacheThatDoesNotLoad) {
  const std::string fresh = this->Create("", "")->GetData()->trainCache;
  EXPECT_EQ(this->Create("", "garbage")->GetData()->trainCache, fresh);
  EXPECT_EQ(this->Create("", std::string(100000, '\0'))->GetData()->trainCache, fresh);
}

TYPED_TEST(LoadedTool, ReportsAMissingModelAsAnExceptionThatTheHostCanCatchByEveryBase) {
  const auto tool = this->Create("", "");
  for (const auto process : {TypeParam::Process, TypeParam::ProcessMany}) {
    EXPECT_THROW(process(*tool), InvalidTrainingArtifactException);
    EXPECT_THROW(process(*tool), TelvarException);
    try {
      process(*tool);
      FAIL() << "nothing was thrown";
    } catch (const std::exception& error) {
      EXPECT_EQ(typeid(error), typeid(InvalidTrainingArtifactException));
      EXPECT_STRNE(error.what(), "");
    }
  }
}

TYPED_TEST(LoadedTool, WorksOnAThreadThatDidNotMakeIt) {
  const auto tool = this->Create("", "");
  std::exception_ptr thrown;
  std::thread([&] {
    try {
      TypeParam::Process(*tool);
    } catch (...) {
      thrown = std::current_exception();
    }
  }).join();
  EXPECT_THROW(std::rethrow_exception(thrown), InvalidTrainingArtifactException);
}

TEST_F(Loaded, ReleasesTheFactoryThatTheArgumentHeld) {
  std::shared_ptr<Types::IWrapperFactory> factory = NewFactory();
  const std::weak_ptr<Types::IWrapperFactory> first = factory;
  CreateWrapperFactory(factory);
  EXPECT_TRUE(first.expired());
  EXPECT_NE(factory, nullptr);
}

TEST_F(Loaded, KeepsAReplacedFactoryThatSomebodyElseShares) {
  std::shared_ptr<Types::IWrapperFactory> factory = NewFactory();
  const std::shared_ptr<Types::IWrapperFactory> first = factory;
  CreateWrapperFactory(factory);
  EXPECT_NE(factory, first);
  const auto tool = Ocr::Create(*first, std::make_unique<Ocr::Data>("kept", ""));
  EXPECT_EQ(tool->GetData()->artifact, "kept");
}

}  // namespace
