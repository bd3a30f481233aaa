#include "cloud/embedded/BlobUpload.h"

#include <utility>

#include "cloud/CloudError.h"
#include "cloud/embedded/BlobStore.h"

namespace tessera {

BlobUpload::BlobUpload(std::shared_ptr<BlobStore> store)
    : _store(std::move(store)),
      _generation(_store->generation()),
      _file(_store->staging().create()) {}

BlobUpload::~BlobUpload() {
  if (!_finished) _store->staging().remove(_file.name);
}

void BlobUpload::write(std::span<const std::byte> bytes) {
  if (_finished) {
    throw CloudError(CloudError::Code::InvalidArgument, "The upload has been finished already.");
  }
  BlobStore::writeAll(_file.descriptor.get(), bytes);
  _hash.update(bytes);
  _size += bytes.size();
}

Asset BlobUpload::finish() {
  if (_finished) {
    throw CloudError(CloudError::Code::InvalidArgument, "The upload has been finished already.");
  }
  Asset asset{_hash.finish(), _size};
  _file.descriptor = FileDescriptor();
  _finished = true;
  _store->adopt(_file.name, asset, _generation);
  return asset;
}

}  // namespace tessera
