// The store's file is damaged in any way. Nothing of that ends the process or has
// it wait; what the database or the reader of JSON can see is an error that names
// the object or the file.

#include <unistd.h>

#include "faults/host.h"

using namespace OrvoConfigStore;

namespace {

constexpr size_t kSector = 512, kPage = 4096;

using Damage = void (*)(std::string& bytes, std::mt19937& random);

// Where a value that is wrong can only come from what no checksum guards.
const struct {
  const char* name;
  Damage spoil;
  bool maySpoilValues;
} kDamages[] = {
    {"a bit",
     [](std::string& bytes, std::mt19937& random) { bytes[random() % bytes.size()] ^= char(1 << random() % 8); }, true},
    {"bits",
     [](std::string& bytes, std::mt19937& random) {
       for (int i = 0; i < 40; ++i) bytes[random() % bytes.size()] ^= char(1 << random() % 8);
     },
     true},
    {"its end", [](std::string& bytes, std::mt19937& random) { bytes.resize(random() % bytes.size()); }, false},
    {"a sector",
     [](std::string& bytes, std::mt19937& random) {
       bytes.replace(random() % (bytes.size() / kSector) * kSector, kSector, kSector, '\0');
     },
     false},
    {"two pages swapped",
     [](std::string& bytes, std::mt19937& random) {
       const size_t a = random() % (bytes.size() / kPage) * kPage, b = random() % (bytes.size() / kPage) * kPage;
       const std::string first = bytes.substr(a, kPage);
       bytes.replace(a, kPage, bytes.substr(b, kPage));
       bytes.replace(b, kPage, first);
     },
     false},
};

/// Reads a part of a damaged store; returns the generation, or kTorn - 1 for an
/// error, whose words or log lines must name an object or the file.
int ReadDamaged(FaultHost& host, const Part& part) {
  host.root.Write("/tmp/test.log", "");
  std::string words;
  try {
    return part.read(host);
  } catch (const ConfigStoreException& error) {
    words = error.what();
  }
  words += host.root.Read("/tmp/test.log");
  const bool isNamed = words.find("component faults group f key") != std::string::npos ||
                       words.find(HaldenLib::kStoreFile) != std::string::npos;
  EXPECT_TRUE(isNamed) << words;
  return kTorn - 1;
}

TEST(Damage, IsAnErrorThatSaysWhereOrDoesNotMatter) {
  constexpr size_t kRead = 4;
  constexpr int kGeneration = 4;
  std::mt19937 random = Random();
  FaultHost host;
  for (size_t i = 0; i < kRead; ++i) Parts()[i].write(host, kGeneration);
  host.Close();
  const std::string path = host.root.Resolve(HaldenLib::kStoreFile);
  const std::string good = host.root.Read(HaldenLib::kStoreFile);
  const LogCapture log(host.root);
  int right = 0, refused = 0, other = 0;
  for (long round = 0; round < Times(2000); ++round) {
    const auto& damage = kDamages[round % std::size(kDamages)];
    SCOPED_TRACE("round " + std::to_string(round) + ", damage of " + damage.name);
    std::string bytes = good;
    damage.spoil(bytes, random);
    for (const char* suffix : {"-wal", "-shm", "-journal"}) fs::remove(path + suffix);
    host.root.Write(HaldenLib::kStoreFile, bytes);
    alarm(60);
    host.Open();
    for (size_t i = 0; i < kRead; ++i) {
      const int found = ReadDamaged(host, Parts()[i]);
      ++(found == kGeneration ? right : found == kTorn - 1 ? refused : other);
      EXPECT_TRUE(found == kGeneration || found <= 0 || damage.maySpoilValues) << Parts()[i].name << ": " << found;
    }
    try {
      Parts()[0].write(host, kGeneration + 1);
      if (damage.spoil == kDamages[2].spoil) {
        EXPECT_NE(0, Parts()[0].read(host));
      }
    } catch (const ConfigStoreException&) {
    }
    IsConsistentStore(HaldenLib::kStoreFile);
    host.Close();
    alarm(0);
    ASSERT_FALSE(HasFailure());
  }
  std::printf("%d right, %d refused, %d neither\n", right, refused, other);
}

}  // namespace
