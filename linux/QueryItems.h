#pragma once

#include "linux/SkiffClient.h"
#include "platform/tessera/GVQueryItem.h"

namespace tessera {

// Item records, asked of the daemon by calls that wait. Threads: any but the loop's.
class QueryItems final : public GVQueryItem::Backend {
 public:
  explicit QueryItems(SkiffClient& skiff) : _skiff(skiff) {}

  // nil, with an error line, when the daemon cannot be asked.
  GVQueryItemPtr containerItem(const std::shared_ptr<const GVContainer>& container,
                               bool forceScan) override;
  GVQueryItemPtr itemAtURL(const NSURLPtr& url, bool fakeFSEvent, NSErrorPtr* error) override;

 private:
  SkiffClient& _skiff;
};

}  // namespace tessera
