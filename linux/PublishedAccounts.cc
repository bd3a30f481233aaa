#include "linux/PublishedAccounts.h"

#include <string>

#include "home/PublishedState.h"
#include "linux/PublishedStateError.h"
#include "platform/foundation/NSNotificationCenter.h"

namespace tessera {

// The file is parsed at every call: it is a few dozen bytes, and the text is at hand.
GVAccountPtr PublishedAccounts::currentLoggedInAccount(NSErrorPtr* error) {
  std::string text;
  try {
    const auto content = _file.read();
    if (!content) return nullptr;
    text = *content;
    auto account = PublishedAccount::fromJson(text);
    return std::make_shared<const GVAccount>(std::move(account.name),
                                             std::move(account.perAppAccountIdentifier));
  } catch (const HomeError& failure) {
    if (error != nullptr) *error = publishedStateError(text, failure.what());
    return nullptr;
  }
}

void PublishedAccounts::fileDidChange() const {
  if (!_observed) return;
  NSNotificationCenter::defaultCenter().postNotification(GVAccountTokenDidChangeNotification);
}

}  // namespace tessera
