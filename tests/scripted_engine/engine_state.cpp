#include "engine_state.h"

#include <istream>
#include <iterator>
#include <new>
#include <ostream>

#include "telvar/exceptions.h"

namespace scripted_engine {

Script& script() {
  thread_local Script script;
  return script;
}

Call& record(const std::string& name, int object) {
  static thread_local Call discarded;
  Call& call = script().recording ? script().calls.emplace_back() : (discarded = Call());
  call.name = name;
  call.object = object;
  return call;
}

void raise_scripted(const std::string& name) {
  // By index: raising may not return.
  std::vector<Failure>& failures = script().failures;
  for (std::size_t i = 0; i < failures.size(); ++i) {
    if (failures[i].name != name || --failures[i].calls_left != 0) continue;
    const auto raise = failures[i].raise;
    failures.erase(failures.begin() + static_cast<std::ptrdiff_t>(i));
    raise();
  }
}

void record_end(const std::string& tool, const char* what, int object) noexcept {
  try {
    record(tool + what, object);
  } catch (const std::bad_alloc&) {
    // A destructor cannot report it, and a test that takes the memory away knows.
  }
}

int next_object() {
  return ++script().objects;
}

std::string answer(const std::string& name) {
  const auto found = script().answers.find(name);
  return found == script().answers.end() ? std::string() : found->second;
}

void refuse_empty_artifact(const std::string& artifact) {
  if (artifact.empty()) throw telvar::types::invalid_training_artifact("the artifact is empty");
}

ModelState::ModelState(const std::string& tool, const std::string& artifact,
                       const std::string& parameters, const telvar::types::Device& device)
    : tool_(tool) {
  Call& call = record(tool + ".model");
  call.artifact = artifact;
  call.parameters = parameters;
  if (const auto* cpu = dynamic_cast<const telvar::types::CpuDevice*>(&device)) {
    call.cpu_threads = cpu->threads();
  }
  raise_scripted(tool + ".model");
  refuse_empty_artifact(artifact);
  call.object = number_ = next_object();
}

ModelState::~ModelState() {
  record_end(tool_, ".model.destroy", number_);
}

void ModelState::process(const telvar::types::ImageView& view,
                         const telvar::types::AffineTransform& transform,
                         const telvar::types::Size2<unsigned>& size) const {
  Call& call = record(tool_ + ".process", number_);
  call.layout = view.layout;
  call.pixels = view.pixels;
  call.transform = {transform.a, transform.b, transform.c, transform.d, transform.e, transform.f};
  call.size = {size.width, size.height};
  raise_scripted(tool_ + ".process");
}

CacheState::CacheState(const std::string& tool) : tool_(tool), number_(next_object()) {}

CacheState::~CacheState() {
  record_end(tool_, ".cache.destroy", number_);
}

void CacheState::load(std::istream& stream) {
  const std::string name = tool_ + ".cache.load";
  const std::string bytes((std::istreambuf_iterator<char>(stream)),
                          std::istreambuf_iterator<char>());
  record(name, number_).bytes = bytes;
  contents_ = bytes.substr(0, bytes.size() / 2);
  raise_scripted(name);
  const std::string header = saved_cache();
  if (bytes.compare(0, header.size(), header) != 0) {
    throw telvar::types::read_error("the stream holds no train cache");
  }
  contents_ = bytes.substr(header.size());
}

void CacheState::save(std::ostream& stream) const {
  const std::string name = tool_ + ".cache.save";
  Call& call = record(name, number_);
  raise_scripted(name);
  call.bytes = saved_cache(contents_);
  stream << call.bytes;
  stream.setstate(script().save_state);
}

Call& begin_run(const std::string& name, const RunArguments& run) {
  Call& call = record(name);
  call.artifact = run.artifact;
  call.dataset = run.dataset;
  call.cache = run.cache.number();
  ask(script().ask_images, run.loader, call.images);
  return call;
}

void ask(const std::vector<std::string>& identifiers, const telvar::types::ImageLoader& loader,
         std::vector<Loaded>& loaded) {
  for (const std::string& identifier : identifiers) {
    loaded.push_back({identifier, loader(identifier)});
  }
}

void end_run(const std::string& name, CacheState& cache) {
  cache.contents() += script().cache_update;
  raise_scripted(name);
}

}  // namespace scripted_engine
