// What a host may rely on with the embedded engine, seen through the loaded library alone.

#include <gmock/gmock.h>

#include <TelvarTypes/TelvarTypes.h>

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <future>
#include <type_traits>

#include "little_samples.h"
#include "loaded_library.h"

using namespace Orbalt::TelvarWrapper;

namespace {

namespace samples = little_samples;
using ImagePointer = std::shared_ptr<Types::Image>;
using RegionPointer = std::shared_ptr<Types::ROI>;

std::shared_ptr<Types::IWrapperFactory> NewFactory() {
  static const LoadedLibrary library(TELVAR_WRAPPERS_LIBRARY);
  std::shared_ptr<Types::IWrapperFactory> factory;
  library.Find<void(std::shared_ptr<Types::IWrapperFactory>&)>("CreateWrapperFactory")(factory);
  return factory;
}

/// An image, or one that no tool takes, named by its fault.
ImagePointer Load(const std::string& id) {
  const std::vector<unsigned char> pixels(1024, 128);
  if (id == "nothing") return nullptr;
  if (id == "2 channels") return Types::MakeImage({16, 16, 32, 2, 8, 0}, pixels);
  if (id == "short rows") return Types::MakeImage({16, 16, 12, 1, 8, 0}, pixels);
  return samples::LoadSample(id);
}

Types::CommonDataSet BatchOf(const std::string& image) {
  Types::CommonDataSet batch;
  batch.samples["key"] = Types::CommonSample(image);
  return batch;
}

// The tools under one shape. `Image` is where a data set names one of its images.
struct Reader {
  using Dataset = Types::SmartOCR::Dataset;
  static constexpr char kName[] = "OCR";
  static auto Make(const std::string& artifact, const std::string& cache = "") {
    return NewFactory()->CreateSmartOCRWrapper(
        std::make_unique<Types::SmartOCR::Data>(artifact, cache));
  }
  static Dataset Samples() { return samples::ToRead(); }
  static std::string& Image(Dataset& set) { return set.trainData[1].imageId; }
  static void Train(Types::ISmartOCRWrapper& tool, const Dataset& set,
                    const Types::ImageLoader& load = Load) {
    tool.Train(set, load);
  }
  static void Process(Types::ISmartOCRWrapper& tool, ImagePointer image, RegionPointer roi) {
    tool.Process(image, roi, samples::kCharacter);
  }
};
struct Classifier {
  using Dataset = Types::SmartClassifier::Dataset;
  static constexpr char kName[] = "classifier";
  static auto Make(const std::string& artifact, const std::string& cache = "") {
    return NewFactory()->CreateSmartClassifierWrapper(
        std::make_unique<Types::SmartClassifier::Data>(artifact, cache));
  }
  static Dataset Samples() { return samples::ToClassify(); }
  static std::string& Image(Dataset& set) { return set.samples["I-1"].imageId; }
  static void Train(Types::ISmartClassifierWrapper& tool, const Dataset& set,
                    const Types::ImageLoader& load = Load) {
    tool.Train(set, load);
  }
  static void Process(Types::ISmartClassifierWrapper& tool, ImagePointer image, RegionPointer) {
    tool.Process(image);
  }
};
struct Segmenter {
  using Dataset = Types::SmartSegmenter::Dataset;
  static constexpr char kName[] = "segmenter";
  static auto Make(const std::string& artifact, const std::string& cache = "") {
    return NewFactory()->CreateSmartSegmenterWrapper(
        std::make_unique<Types::SmartSegmenter::Data>(artifact, cache));
  }
  static Dataset Samples() { return samples::ToSegment(); }
  static std::string& Image(Dataset& set) { return set.samples[1].imageId; }
  static void Train(Types::ISmartSegmenterWrapper& tool, const Dataset& set,
                    const Types::ImageLoader& load = Load) {
    tool.Train(set, load, [](const std::string& id) {
      return id == "nothing" || id == "short rows" ? Load(id) : samples::LoadMask(id);
    });
  }
  static void Process(Types::ISmartSegmenterWrapper& tool, ImagePointer image, RegionPointer roi) {
    tool.Process(image, roi);
  }
};

/// What a training leaves behind.
struct State {
  std::string artifact, cache;
};

template <typename Tool>
State Trained() {
  const auto tool = Tool::Make("");
  Tool::Train(*tool, Tool::Samples());
  const auto data = tool->GetData();
  return {data->artifact, data->trainCache};
}
template <typename Tool>
const State& Learned() {
  static const State state = Trained<Tool>();
  return state;
}
template <typename Tool>
const std::string& Artifact() {
  return Learned<Tool>().artifact;
}

/// `call` must throw an `Error`, of exactly this type, with this in its text.
template <typename Error>
void Expect(const std::string& text, const std::function<void()>& call) {
  SCOPED_TRACE(text);
  try {
    call();
    ADD_FAILURE() << "nothing was thrown";
  } catch (const std::exception& error) {
    EXPECT_STREQ(typeid(error).name(), typeid(Error).name());
    EXPECT_THAT(error.what(), testing::HasSubstr(text));
  }
}
constexpr auto kArgument = Expect<InvalidArgumentException>;
constexpr auto kLabel = Expect<InvalidLabelException>;
constexpr auto kImage = Expect<InvalidImageException>;
constexpr auto kSize = Expect<InvalidImageSizeException>;
constexpr auto kRegion = Expect<InvalidROIException>;
constexpr auto kArtifact = Expect<InvalidTrainingArtifactException>;
constexpr auto kVersion = Expect<UnsupportedTrainingArtifactVersionException>;

/// What spoils a data set, and how the engine refuses it.
template <typename Tool>
struct Fault {
  decltype(kArgument) expect;
  std::string text;
  std::function<void(typename Tool::Dataset&)> spoil;
};

template <typename Tool>
void ExpectRefused(const std::vector<Fault<Tool>>& faults) {
  for (const Fault<Tool>& fault : faults) {
    typename Tool::Dataset set = Tool::Samples();
    fault.spoil(set);
    fault.expect(fault.text, [&] { Tool::Train(*Tool::Make(""), set); });
  }
}

const RegionPointer kEmptyRegion = std::make_shared<Types::ROI>(0.f, 0.f, 0.f, 0.f, 0, 9);

TEST(EmbeddedEngine, RefusesDataSetsToRead) {
  const auto label = [](double x, const std::string& category) {
    return [=](auto& set) { set.trainData[1].assignments[0] = {x, 15.0, category}; };
  };
  ExpectRefused<Reader>({
      {kArgument, "the character width of 0 pixels must", [](auto& set) { set.width = 0; }},
      {kArgument, "12 x 100 pixels, differ more than 8", [](auto& set) { set.height = 100; }},
      {kArgument, "2 labelled characters, at least 3", [](auto& set) { set.trainData.resize(2); }},
      {kArgument, "xxx...' has 257 bytes, the limit is 256", label(15, std::string(257, 'x'))},
      {kLabel, "sample 'I-1', label 0: no category", label(15, "")},
      {kLabel, "sample 'I-1', label 0: the position (nan, 15) is not finite", label(NAN, "I")},
      {kLabel, "sample 'I-1', label 0: (99, 15) lies outside the region of 32 x", label(99, "I")},
      {kRegion, "image 'I-1': region of 0 x 9 px is empty",
       [](auto& set) { set.trainData[1].roi = kEmptyRegion; }},
  });
}

TEST(EmbeddedEngine, RefusesDataSetsToClassify) {
  const auto category = [](const std::string& name) {
    return [=](auto& set) { set.samples["I-1"].categoryId = name; };
  };
  const auto categories = [](int count) {
    return [=](auto& set) {
      for (int i = 0; i < count; ++i) set.samples[std::to_string(i)] = {"I-0", std::to_string(i)};
    };
  };
  ExpectRefused<Classifier>({
      {kArgument, "0 samples in the data set", [](auto& set) { set.samples.clear(); }},
      {kArgument, "category 'other' has 1 sample(s), the minimum is 2", category("other")},
      {kArgument, "1001 categories, the limit is 1000", categories(999)},
      {kLabel, "sample 'I-1' has no category", category("")},
      {kLabel, "sample 'I-1': a category identifier of 4097 bytes, the limit is 4096",
       category(std::string(4097, 'x'))},
  });
}

TEST(EmbeddedEngine, RefusesDataSetsToSegment) {
  const auto mask = [](const char* category, const char* id) {
    return [=](auto& set) { set.samples[1].categoryMasks[category] = id; };
  };
  ExpectRefused<Segmenter>({
      {kArgument, "2 samples; at least 3", [](auto& set) { set.samples.resize(2); }},
      {kArgument, "no categories", [](auto& set) { set.categories.clear(); }},
      {kArgument, "category 'dent' has pixels in 0 samples",
       [](auto& set) { set.categories.push_back("dent"); }},
      {kArgument, "sample 'I-1': a mask of category 'dent', which", mask("dent", "I-1")},
      {kArgument, "sample 'I-1': mask 'nothing' of category 'ink': 0 x 0", mask("ink", "nothing")},
      {kImage, "sample 'I-1': mask 'short rows' of category 'ink': image of",
       mask("ink", "short rows")},
      {kRegion, "image 'I-1': region of 0 x 9 px is empty",
       [](auto& set) { set.samples[1].roi = kEmptyRegion; }},
  });
}

template <typename Tool>
class EmbeddedTool : public testing::Test {};
using Tools = testing::Types<Reader, Classifier, Segmenter>;
TYPED_TEST_SUITE(EmbeddedTool, Tools);

TYPED_TEST(EmbeddedTool, RefusesImages) {
  const auto image = [](const char* id) { return [=](auto& set) { TypeParam::Image(set) = id; }; };
  ExpectRefused<TypeParam>({
      {kImage, "image '2 channels': 2 channels; 1, 3 or 4 are possible", image("2 channels")},
      {kImage, "image 'short rows': image of", image("short rows")},
      {kSize, "image 'nothing': 0 x 0 px, the image is empty", image("nothing")},
  });
  const auto tool = TypeParam::Make(Artifact<TypeParam>());
  const auto process = [&](const ImagePointer& image) {
    return [&, image] { TypeParam::Process(*tool, image, nullptr); };
  };
  kImage("image: 2 channels", process(Load("2 channels")));
  kImage("image: a row of 16 bytes does not fit the stride of 12", process(Load("short rows")));
  kImage("image: the pixels are missing",
         process(std::make_shared<Types::Image>(Load("I-0")->layout, nullptr)));
  kSize("image: 0 x 0 px", process(nullptr));
  if constexpr (!std::is_same_v<TypeParam, Reader>) {
    kImage("sample 'key', image '2 channels': 2 channels",
           [&] { tool->BatchProcess(BatchOf("2 channels"), Load); });
    kImage("sample 'key', image 'short rows': image of",
           [&] { tool->BatchProcess(BatchOf("short rows"), Load); });
  }
  process(Load("I-0"))();  // the tool goes on working
}

TYPED_TEST(EmbeddedTool, RefusesRegions) {
  if constexpr (std::is_same_v<TypeParam, Classifier>) return;  // it takes none
  const auto tool = TypeParam::Make(Artifact<TypeParam>());
  const auto region = [&](float x, float skew, unsigned width) {
    const auto roi = std::make_shared<Types::ROI>(x, 0.f, 0.f, skew, width, 9);
    return [&, roi] { TypeParam::Process(*tool, Load("I-0"), roi); };
  };
  kRegion("image: region of 0 x 9 px is empty", region(0, 0, 0));
  kRegion("image: the region lies outside the image of 32 x 32 px: a 1, b -0, c 99, d 0,",
          region(99, 0, 9));
  kRegion("image: the region's transform is not finite", region(NAN, 0, 9));
  kRegion("image: the region's transform is singular", region(0, 1.57079633f, 9));
}

/// As a version of the tool that is yet to come would write it; see docs/state-formats.md.
std::string FromTheFuture(std::string artifact) {
  artifact[12] = 99;
  const XXH64_hash_t sums[] = {XXH3_64bits(artifact.data(), 24),
                               XXH3_64bits(artifact.data() + 32, artifact.size() - 32)};
  const XXH64_hash_t sum = XXH3_64bits(sums, sizeof sums);
  std::memcpy(&artifact[24], &sum, sizeof sum);
  return artifact;
}

TYPED_TEST(EmbeddedTool, RefusesArtifacts) {
  using Other = std::conditional_t<std::is_same_v<TypeParam, Reader>, Classifier, Reader>;
  const std::string name = TypeParam::kName;
  std::string damaged = Artifact<TypeParam>();
  damaged[damaged.size() / 2] ^= 1;
  std::vector<std::function<void(const std::string&)>> uses = {
      [](auto& bytes) { TypeParam::Process(*TypeParam::Make(bytes), Load("I-0"), nullptr); },
      [](auto& bytes) { TypeParam::Train(*TypeParam::Make(bytes), TypeParam::Samples()); }};
  if constexpr (!std::is_same_v<TypeParam, Reader>) {
    uses.push_back([](auto& bytes) { TypeParam::Make(bytes)->BatchProcess(BatchOf("I-0"), Load); });
  }
  for (const auto& use : uses) {
    const auto with = [&](const std::string& bytes) { return [&, bytes] { use(bytes); }; };
    kArtifact(name + " artifact: this is no artifact", with(std::string(99, 'x')));
    kArtifact(name + " artifact: it is damaged (checksum)", with(damaged));
    kArtifact("belongs to the tool '" + std::string(Other::kName) + "', wanted is '" + name,
              with(Artifact<Other>()));
    kVersion(name + " artifact: format version 99, this library reads up to",
             with(FromTheFuture(Artifact<TypeParam>())));
  }
}

TYPED_TEST(EmbeddedTool, TakesUpTheTrainCacheThatItSaved) {
  const std::string& saved = Learned<TypeParam>().cache;
  EXPECT_GT(saved.size(), TypeParam::Make("")->GetData()->trainCache.size());
  EXPECT_TRUE(TypeParam::Make("", saved)->GetData()->trainCache == saved);
}

TYPED_TEST(EmbeddedTool, TellsOfItsProgressAndLearnsTheSameOnOneThread) {
  std::vector<float> fractions;
  float score = -1;
  const auto tool = TypeParam::Make("");
  const Types::ProgressReport report = [&](const Types::Progress& progress) {
    fractions.push_back(progress.fraction);
    score = std::max(score, progress.score);
    return true;
  };
  TypeParam::Train(*tool, TypeParam::Samples(), Types::MonitoredLoader(Load, report, 1));
  EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
  EXPECT_EQ(fractions.front(), -1) << "while images are fetched";
  EXPECT_GT(std::count_if(fractions.begin(), fractions.end(), [](float f) { return f > 0; }), 9);
  EXPECT_EQ(fractions.back(), 1);
  const bool measures = !std::is_same_v<TypeParam, Classifier>;
  EXPECT_EQ(score > 0.2f, measures) << score;
  EXPECT_TRUE(tool->GetData()->artifact == Artifact<TypeParam>());
}

TYPED_TEST(EmbeddedTool, IsAsBeforeAfterACancelledTraining) {
  const auto tool = TypeParam::Make(Artifact<TypeParam>());
  const auto train = [&](const Types::ImageLoader& load) {
    return [&tool, load] { TypeParam::Train(*tool, TypeParam::Samples(), load); };
  };
  const auto until = [](float fraction) {
    return [=](const Types::Progress& progress) { return progress.fraction < fraction; };
  };
  const auto cancelled = Expect<InvalidOperationException>;
  const std::string text = "cancelled by the host";
  cancelled(text, train(Types::MonitoredLoader(Load, until(-1))));
  cancelled(text, train(Types::MonitoredLoader(Load, until(0.3f))));
  // As hosts that wrap it and other engines see it: an image loader.
  const Types::MonitoredLoader inner(Load, until(-1));
  cancelled(text, train([&](const std::string& id) { return inner(id); }));
  Expect<std::domain_error>("mine", train(Types::MonitoredLoader(Load, [](const auto& progress) {
                              if (progress.fraction > 0.3f) throw std::domain_error("mine");
                              return true;
                            })));
  EXPECT_TRUE(tool->GetData()->artifact == Artifact<TypeParam>());
  EXPECT_EQ(tool->GetData()->trainCache, TypeParam::Make("")->GetData()->trainCache);
  TypeParam::Process(*tool, Load("I-0"), nullptr);
}

TEST(EmbeddedEngine, RefusesSizesAndFieldingOfTheReader) {
  const auto tool = Reader::Make(Artifact<Reader>());
  const auto size = [&](float width, float height) {
    return [=] { tool->Process(Load("O-0"), nullptr, {width, height}); };
  };
  const auto fielding = [&](const Types::SmartOCR::BasicFielding& pattern) {
    return [=] { tool->Process(Load("O-0"), nullptr, samples::kCharacter, pattern); };
  };
  kArgument("runtime size: the character width of 2 pixels must lie in 4..4096", size(2, 16));
  kArgument("runtime size: the character height of nan pixels is not finite", size(12, NAN));
  kArgument("No matching Fielding pattern was found", fielding({"IO", 9}));
  kArgument("Invalid fielding pattern caused by empty lines or empty patterns", fielding({"", 0}));
}

TEST(EmbeddedEngine, LetsTheRefusalOfSortCharactersPassAsItIs) {
  const auto sort = [] { Reader::Make("")->SortCharacters({{1.f, NAN}}, 16.f); };
  EXPECT_THAT(sort, testing::ThrowsMessage<std::exception>(testing::HasSubstr("point 0")));
  EXPECT_THROW(
      {
        try {
          sort();
        } catch (const TelvarException&) {
        }
      },
      std::exception);
}

TEST(EmbeddedEngine, LearnsTheSameBesideItself) {
  auto other = std::async(std::launch::async, Trained<Classifier>);
  EXPECT_TRUE(Trained<Classifier>().artifact == Artifact<Classifier>());
  EXPECT_TRUE(other.get().artifact == Artifact<Classifier>());
}

}  // namespace
