#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>

#include "core/cache_session.h"
#include "telvar/exceptions.h"

namespace telvar::core {
namespace {

constexpr std::uint64_t kNoLimit = ~std::uint64_t{0};

TrainCacheStore::Blob blob(const std::string& text) {
  return std::make_shared<const std::string>(text);
}

std::string saved(const TrainCacheStore& store) {
  std::ostringstream out;
  store.save(out);
  return out.str();
}

void load_bytes(TrainCacheStore& store, const std::string& bytes) {
  std::istringstream in(bytes);
  store.load(in);
}

TEST(TrainCacheStore, DropsTheLeastRecentlyUsedFirst) {
  TrainCacheStore store(Tool::kClassifier, 3 * (100 + 1 + 64));
  for (const char* id : {"a", "b", "c"}) store.put({id, 1}, blob(std::string(100, id[0])));
  store.touch({"a", 1});
  store.put({"d", 1}, blob(std::string(100, 'd')));
  EXPECT_TRUE(store.find({"a", 1}));
  EXPECT_FALSE(store.find({"b", 1}));
  store.put({"huge", 1}, blob(std::string(1000, 'x')));
  EXPECT_FALSE(store.find({"huge", 1}));
  EXPECT_EQ(store.size(), 3u);
  EXPECT_EQ(store.bytes(), 3u * 165);
}

TEST(TrainCacheStore, LeavesOutIdentifiersThatItCouldNotLoad) {
  TrainCacheStore store(Tool::kClassifier, kNoLimit), other(Tool::kClassifier, 0);
  CacheSession session(store);
  for (const std::size_t size : {1 << 20, (1 << 20) + 1})
    session.put({std::string(size, 'x'), 1}, "");
  session.commit();
  EXPECT_EQ(store.size(), 1u);
  EXPECT_NO_THROW(load_bytes(other, saved(store)));
}

TEST(TrainCacheStore, SurvivesSavingAndLoadingInOrder) {
  TrainCacheStore store(Tool::kOcr, kNoLimit);
  store.put({std::string("with\0zero", 9), 7}, blob("first"));
  store.put({"", 8}, blob(""));
  TrainCacheStore other(Tool::kOcr, kNoLimit);
  load_bytes(other, saved(store));
  EXPECT_EQ(*other.find({std::string("with\0zero", 9), 7}), "first");
  EXPECT_EQ(saved(other), saved(store));
}

TEST(TrainCacheStore, RefusesEveryDamageAndKeepsItsEntries) {
  TrainCacheStore store(Tool::kOcr, kNoLimit);
  store.put({"image", 7}, blob("entry"));
  const std::string good = saved(store);
  TrainCacheStore target(Tool::kOcr, kNoLimit);
  target.put({"kept", 1}, blob("kept"));
  for (std::size_t i = 0; i < good.size(); ++i) {
    std::string bad = good;
    bad[i] = static_cast<char>(bad[i] ^ (1 << i % 8));
    EXPECT_THROW(load_bytes(target, bad), types::read_error) << "byte " << i;
    EXPECT_THROW(load_bytes(target, good.substr(0, i)), types::read_error) << "length " << i;
  }
  EXPECT_THROW(load_bytes(target, good + "x"), types::read_error);
  EXPECT_TRUE(target.find({"kept", 1}));
  TrainCacheStore segmenter(Tool::kSegmenter, kNoLimit);
  EXPECT_THROW(load_bytes(segmenter, good), types::read_error);
}

TEST(TrainCacheStore, NamesTheCountThatItsBytesCannotHold) {
  TrainCacheStore store(Tool::kOcr, kNoLimit);
  store.put({"image", 7}, blob("entry"));
  std::string forged = saved(store);
  forged.resize(forged.size() - 8);  // the checksum
  forged[23] = 0x40;                 // the highest byte of the number of entries
  ByteWriter sum;
  sum.u64(checksum(forged));
  try {
    load_bytes(store, forged + sum.bytes());
    FAIL() << "nothing was thrown";
  } catch (const types::read_error& error) {
    EXPECT_STREQ(error.what(),
                 "train cache: 4611686018427387905 entries are announced, 30 bytes are left");
  }
}

TEST(TrainCacheStore, NamesStreamsThatFail) {
  TrainCacheStore store(Tool::kOcr, kNoLimit);
  std::ostringstream broken;
  broken.setstate(std::ios::badbit);
  EXPECT_THROW(store.save(broken), types::write_error);
  std::filebuf closed;
  std::ostream throwing(&closed);
  throwing.exceptions(std::ios::badbit | std::ios::failbit);
  EXPECT_THROW(store.save(throwing), types::write_error);
  std::ifstream directory("/");
  ASSERT_TRUE(directory);
  EXPECT_THROW(store.load(directory), types::read_error);
}

TEST(CacheSession, ChangesNothingUntilCommitted) {
  TrainCacheStore store(Tool::kOcr, kNoLimit);
  store.put({"a", 1}, blob("a"));
  store.put({"b", 1}, blob("b"));
  const std::string before = saved(store);
  CacheSession session(store);
  EXPECT_EQ(*session.find({"a", 1}), "a");
  session.put({"c", 1}, "c");
  EXPECT_EQ(saved(store), before);
  session.commit();
  EXPECT_EQ(*store.find({"c", 1}), "c");
  EXPECT_NE(saved(store), before);
}

TEST(CacheSession, HoldsBackNoMoreThanTheCacheTakes) {
  constexpr std::uint64_t kEach = 100 + 1 + 64;
  for (const std::uint64_t room : {0, 2}) {
    TrainCacheStore store(Tool::kOcr, room * kEach);
    CacheSession session(store);
    for (const char* id : {"a", "b", "c"}) session.put({id, 1}, std::string(100, id[0]));
    EXPECT_EQ(session.bytes(), room * kEach);
    session.commit();
    EXPECT_EQ(store.size(), room);
    EXPECT_EQ(store.find({"c", 1}) != nullptr, room > 0);
    EXPECT_EQ(session.bytes(), 0u);
  }
}

TEST(Digest, SeesPixelsAndLayoutButNotPadding) {
  const unsigned char pixels[] = {1, 2, 99, 3, 4, 99};
  const unsigned char other_padding[] = {1, 2, 98, 3, 4, 97};
  const auto digest = [](const unsigned char* data, unsigned width, unsigned stride) {
    return digest_of(types::ImageView(width, 2, stride, 1, 8, 0, data));
  };
  EXPECT_EQ(digest(pixels, 2, 3), digest(other_padding, 2, 3));
  EXPECT_NE(digest(pixels, 3, 3), digest(other_padding, 3, 3));
  // The same six bytes.
  const std::set<std::uint64_t> layouts = {
      digest_of(types::ImageView(6, 1, 6, 1, 8, 0, pixels)),
      digest_of(types::ImageView(3, 2, 3, 1, 8, 0, pixels)),
      digest_of(types::ImageView(3, 1, 6, 1, 16, 0, pixels)),
      digest_of(types::ImageView(2, 1, 6, 3, 8, 1, pixels)),
      digest_of(types::ImageView(2, 1, 6, 3, 8, 2, pixels)),
  };
  EXPECT_EQ(layouts.size(), 5u);
}

}  // namespace
}  // namespace telvar::core
