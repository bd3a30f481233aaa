#pragma once

#include <capnp/capability.h>

#include "host/ExtensionProcess.h"
#include "host/HostError.h"

namespace tessera {

// Answers a call with what a call to the extension answers: `copy` gets the response and
// the results to fill. A call that fails becomes an error in the results. Dropping the
// answered call drops the other one.
template <class Context, class R, class Copy>
kj::Promise<void> forward(Context context, ExtensionProcess::Use use,
                          kj::Promise<capnp::Response<R>> call, Copy copy) {
  context.releaseParams();
  context.allowCancellation();
  return use.watch(kj::mv(call))
      .then([context, copy](capnp::Response<R> response) mutable {
        copy(kj::mv(response), context.getResults());
      })
      .catch_([context](kj::Exception&& failure) mutable {
        HostError::of(failure).encode(context.getResults().initError());
      })
      .attach(kj::mv(use));
}

}  // namespace tessera
