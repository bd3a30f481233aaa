#include "skiff/importer/DocumentReader.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "skiff/store/ContentHash.h"

namespace tessera {

namespace {

constexpr std::size_t kBlock = std::size_t{1} << 20;  // bytes

[[noreturn]] void fail() {
  throw std::system_error(errno, std::generic_category());
}

// A file of the source. Pipes and devices that took a file's place are not waited for.
class OpenSource {
 public:
  OpenSource(int folder, const std::string& name)
      : _descriptor(::openat(folder, name.c_str(),
                             O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)) {
    if (_descriptor < 0) fail();
  }
  ~OpenSource() { ::close(_descriptor); }
  OpenSource(const OpenSource&) = delete;
  OpenSource& operator=(const OpenSource&) = delete;

  [[nodiscard]] int descriptor() const noexcept { return _descriptor; }

 private:
  const int _descriptor;
};

bool isUnchanged(int file, const SourceFacts& before) {
  SourceFacts now = SourceFacts::of(file);
  return now.size == before.size && now.modifiedAt == before.modifiedAt;
}

}  // namespace

DocumentReader::DocumentReader(CloudAssets& assets, std::stop_token stop, BytesRead bytesRead)
    : _assets(assets),
      _stop(std::move(stop)),
      _bytesRead(std::move(bytesRead)),
      _block(kBlock + 1) {}  // one more byte tells whether a file ends where it should

ReadOutcome DocumentReader::read(int folder, const std::string& name,
                                 const std::optional<Asset>& known) {
  constexpr int kAttempts = 2;
  try {
    OpenSource file(folder, name);
    for (int count = 0; count < kAttempts && !_stop.stop_requested(); ++count) {
      SourceFacts facts = SourceFacts::of(file.descriptor());
      if (!facts.isRegularFile()) return {{}, "It was replaced by something that is no file"};
      if (auto content = attempt(file.descriptor(), facts, known)) {
        return {ReadDocument{*content, facts}, {}};
      }
    }
  } catch (const std::system_error& error) {
    return {{}, "It cannot be read: " + error.code().message()};
  }
  if (_stop.stop_requested()) return {};
  return {{}, "It changed while it was read, twice"};
}

// nullopt when the file changed meanwhile, or when it is to stop.
std::optional<Asset> DocumentReader::attempt(int file, const SourceFacts& facts,
                                             const std::optional<Asset>& known) {
  if (facts.size <= kBlock) return attemptSmall(file, facts);
  // Reading a large file twice is cheaper than writing for nothing what the cloud has.
  if (known && known->size == facts.size && holds(file, facts, *known)) return known;
  return attemptLarge(file, facts);
}

std::optional<Asset> DocumentReader::attemptSmall(int file, const SourceFacts& facts) {
  std::size_t size = readBlock(file, 0);
  if (size != facts.size || !isUnchanged(file, facts)) return std::nullopt;
  _bytesRead(size);
  return _assets.put(std::span(_block).first(size));
}

std::optional<Asset> DocumentReader::attemptLarge(int file, const SourceFacts& facts) {
  auto upload = _assets.upload();
  auto write = [&upload](std::span<const std::byte> bytes) { upload->write(bytes); };
  if (!readSteadily(file, facts, write)) return std::nullopt;
  return upload->finish();
}

bool DocumentReader::holds(int file, const SourceFacts& facts, const Asset& known) {
  ContentHash hash;
  auto add = [&hash](std::span<const std::byte> bytes) { hash.add(bytes); };
  return readSteadily(file, facts, add) && hash.finishHex() == known.sha256;
}

// Hands the file's content on block by block. Returns false when it is not the content that
// `facts` were told about, or when it is to stop.
bool DocumentReader::readSteadily(int file, const SourceFacts& facts, const Sink& sink) {
  std::uint64_t offset = 0;
  while (offset <= facts.size) {  // one that only grows would never end
    if (_stop.stop_requested()) return false;
    std::size_t size = readBlock(file, offset);
    if (size == 0) break;
    sink(std::span(_block).first(size));
    offset += size;
    _bytesRead(offset);
  }
  return offset == facts.size && isUnchanged(file, facts);
}

// Reads as much as fits; less only at the end of the file.
std::size_t DocumentReader::readBlock(int file, std::uint64_t offset) {
  std::size_t size = 0;
  while (size < _block.size()) {
    ssize_t count = ::pread(file, _block.data() + size, _block.size() - size,
                            static_cast<off_t>(offset + size));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail();
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
  }
  return size;
}

}  // namespace tessera
