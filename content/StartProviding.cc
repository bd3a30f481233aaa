#include "content/GVFileProvidingRequestOperation.h"
#include "core/FailedAssertion.h"
#include "core/GVFPAdditions.h"
#include "core/GVFileProviderExtension.h"
#include "platform/tessera/GVLog.h"
#include "platform/tessera/GVURLAdditions.h"

namespace tessera {
namespace {

// Set when a file at the URL does not mean that its content is there.
constexpr std::uint64_t kContentNotPresent = 0x20000;

void logStart(log_section_t section, const NSURLPtr& url, std::uint64_t readingOptions) {
  const Log& log = gvc_default_log();
  if (!log.isEnabled(LogType::Debug)) return;  // printing the options has a cost
  log.debug("[DEBUG] ┣%llx start providing %@ (readingOptions: %@)", section, url->path(),
            GVCPrettyPrintBitmap(readingOptions, kReadingOptionNames));
}

}  // namespace

void GVFileProviderExtension::providePlaceholderAtURL(
    const NSURLPtr&, const NSProvidingCompletion& completionHandler) {
  if (completionHandler) completionHandler(nullptr);
}

void GVFileProviderExtension::startProvidingItemAtURL(
    const NSURLPtr& url, const NSProvidingCompletion& completionHandler) {
  startProvidingItemAtURL(url, 0, completionHandler);
}

void GVFileProviderExtension::startProvidingItemAtURL(
    const NSURLPtr& url, std::uint64_t readingOptions,
    const NSProvidingCompletion& completionHandler) {
  if (!gv_isInSyncedLocation(url)) {
    completionHandler(nullptr);
    return;
  }
  // Closed by the download's completion; a read that is granted at once leaves it open.
  const log_section_t section = log_section_create(false);
  const Log& log = gvc_default_log();
  logStart(section, url, readingOptions);
  if (gv_isPromiseURL(url)) {
    log.error("[ERROR] Someone tries to coordinate at the side fault URL '%@', odd, but allow it",
              url->path());
  } else if ((readingOptions & kContentNotPresent) == 0 &&
             url->checkResourceIsReachableAndReturnError(nullptr)) {
    log.debug("[DEBUG] url exists, granting the read");
    completionHandler(nullptr);
    return;
  }

  const std::string& path = url->path();
  const auto operation = std::make_shared<GVFileProvidingRequestOperation>(url, readingOptions);
  operation->setFileProvidingCompletion(
      [self = shared_from_this(), path, completionHandler, section](const NSErrorPtr& error) {
        self->_itemProvidingEnded(path, section, completionHandler, error);
      });
  {
    const auto operations = _downloadOperationByPath.lock();
    gv_assert(!operations->contains(path), "_downloadOperationByPath[path] == nil");
    (*operations)[path] = operation;
  }
  _operationQueue->addOperation(operation);
}

void GVFileProviderExtension::_itemProvidingEnded(const std::string& path, log_section_t section,
                                                  const NSProvidingCompletion& completionHandler,
                                                  const NSErrorPtr& error) {
  const LogSection ending(section);
  gvc_default_log().debug("[DEBUG] ┳%llx item providing completion; %@", section, error);
  {
    const auto operations = _downloadOperationByPath.lock();
    gv_assert(operations->contains(path), "self->_downloadOperationByPath[path]");
    operations->erase(path);
  }
  completionHandler(gv_fileProviderError(error));
}

}  // namespace tessera
