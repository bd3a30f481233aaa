#include "skiff/service/ServiceError.h"

#include <cerrno>
#include <system_error>

#include "cloud/CloudError.h"
#include "home/Home.h"
#include "skiff/importer/ImportReport.h"
#include "skiff/store/SkiffError.h"
#include "sqlite/SqliteError.h"

namespace tessera {

namespace {

constexpr const char* kTessera = "GVTesseraErrorDomain";
constexpr const char* kCocoa = "NSCocoaErrorDomain";
constexpr const char* kPosix = "NSPOSIXErrorDomain";
constexpr const char* kFileProvider = "NSFileProviderErrorDomain";

enum Tessera : std::int64_t {
  kUnknown = 1,
  kLoggedOut = 2,
  kAccountMismatch = 4,
  kCorruptContent = 5,
  kNewerVersion = 6,
};

enum Cocoa : std::int64_t {
  kNoSuchFile = 4,
  kCannotRead = 256,
  kCannotWrite = 512,
  kNoPermission = 513,
  kFileExists = 516,
  kOutOfSpace = 640,
  kCancelled = 3072,
  kOverQuota = 4354,
  kUnreachable = 4355,
};

constexpr std::int64_t kSyncAnchorExpired = -1002;

ServiceError posix(int code, const std::string& text) {
  return {kPosix, code, text, {}, nullptr};
}

ServiceError outOfSpace(const std::string& text) {
  return {kCocoa,
          kOutOfSpace,
          text + " Make room and try again.",
          {},
          std::make_shared<const ServiceError>(posix(ENOSPC, "No space left on device"))};
}

ServiceError ofSkiff(const SkiffError& error) {
  using Code = SkiffError::Code;
  auto with = [&error](const char* domain, std::int64_t code) {
    return ServiceError{domain, code, error.what(), error.path(), nullptr};
  };
  switch (error.code()) {
    case Code::SignedOut:
      return with(kTessera, kLoggedOut);
    case Code::AccountMismatch:
      return with(kTessera, kAccountMismatch);
    case Code::NoSuchItem:
      return with(kCocoa, kNoSuchFile);
    case Code::TokenExpired:
      return with(kFileProvider, kSyncAnchorExpired);
    case Code::CorruptContent:
      return with(kTessera, kCorruptContent);
    case Code::FileExists:
    case Code::LocallyChanged:
      return with(kCocoa, kFileExists);
    case Code::Cancelled:
      return with(kCocoa, kCancelled);
    case Code::BadArgument:
      return with(kPosix, EINVAL);
    case Code::NotSupported:
      return with(kPosix, EOPNOTSUPP);
    case Code::NewerVersion:
      return with(kTessera, kNewerVersion);
    case Code::WrongCloud:
      return with(kCocoa, kUnreachable);
  }
  return with(kTessera, kUnknown);
}

ServiceError ofCloud(const CloudError& error) {
  using Code = CloudError::Code;
  std::string text = error.what();
  auto with = [](const char* domain, std::int64_t code, const std::string& message) {
    return ServiceError{domain, code, message, {}, nullptr};
  };
  switch (error.code()) {
    case Code::Unreachable:
    case Code::NotACloud:
      return with(kCocoa, kUnreachable, "The cloud cannot be reached; try again later. " + text);
    case Code::NewerVersion:
      return with(kTessera, kNewerVersion, text);
    case Code::NoSuchContainer:
    case Code::NoSuchRecord:
      return with(kCocoa, kNoSuchFile, text);
    case Code::NoSuchAsset:
    case Code::Corrupt:
      return with(kTessera, kCorruptContent, text);
    case Code::OverQuota:
      return with(kCocoa, kOverQuota, text);
    case Code::NoSpace:
      return outOfSpace("The cloud's storage is full: " + text);
    case Code::InvalidArgument:
      return posix(EINVAL, text);
    case Code::NoSuchAccount:
    case Code::RecordChanged:
    case Code::TokenExpired:
      break;
  }
  return with(kTessera, kUnknown, text);
}

ServiceError ofSystem(const std::system_error& error) {
  std::string text = error.what();
  if (error.code().category() != std::generic_category() &&
      error.code().category() != std::system_category()) {
    return {kTessera, kUnknown, text, {}, nullptr};
  }
  int code = error.code().value();
  auto cause = std::make_shared<const ServiceError>(posix(code, error.code().message()));
  switch (code) {
    case ENOSPC:
    case EDQUOT:
      return outOfSpace("The disk is full: " + text + ".");
    case EACCES:
    case EPERM:
    case EROFS:
      return {kCocoa, kNoPermission, "Not permitted: " + text, {}, cause};
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
      return {kCocoa, kNoSuchFile, text, {}, cause};
    default:
      return posix(code, text);
  }
}

}  // namespace

ServiceError ServiceError::of(const std::exception_ptr& failure) {
  try {
    std::rethrow_exception(failure);
  } catch (const SkiffError& error) {
    return ofSkiff(error);
  } catch (const CloudError& error) {
    return ofCloud(error);
  } catch (const SqliteError& error) {
    if (error.isFull()) return outOfSpace("The disk of the item store is full.");
    return {kTessera, kUnknown, std::string("The item store failed: ") + error.what(), {}, nullptr};
  } catch (const ImportRefused& error) {
    return {kCocoa, kCannotRead, error.what(), {}, nullptr};
  } catch (const HomeError& error) {
    return {kCocoa, kCannotWrite, error.what(), {}, nullptr};
  } catch (const std::system_error& error) {
    return ofSystem(error);
  } catch (const std::exception& error) {
    return {kTessera, kUnknown, error.what(), {}, nullptr};
  } catch (...) {
    return {kTessera, kUnknown, "Something failed without saying what.", {}, nullptr};
  }
}

void ServiceError::encode(wire::Error::Builder error) const {
  error.setDomain(domain);
  error.setCode(code);
  unsigned count = 1u + (path.empty() ? 0 : 1) + (causedBy ? 1 : 0);
  auto entries = error.initUserInfo(count);
  unsigned index = 0;
  entries[index].setKey("NSLocalizedDescription");
  entries[index++].initValue().setText(text);
  if (!path.empty()) {
    entries[index].setKey("NSFilePath");
    entries[index++].initValue().setText(path);
  }
  if (causedBy) {
    entries[index].setKey("NSUnderlyingError");
    causedBy->encode(entries[index++].initValue().initError());
  }
}

}  // namespace tessera
