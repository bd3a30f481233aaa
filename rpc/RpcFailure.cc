#include "rpc/RpcFailure.h"

namespace tessera {

namespace {

RpcFailure::Kind kindOf(kj::Exception::Type type) {
  switch (type) {
    case kj::Exception::Type::DISCONNECTED:
      return RpcFailure::Kind::Disconnected;
    case kj::Exception::Type::OVERLOADED:
      return RpcFailure::Kind::Overloaded;
    case kj::Exception::Type::UNIMPLEMENTED:
      return RpcFailure::Kind::Unimplemented;
    case kj::Exception::Type::FAILED:
      break;
  }
  return RpcFailure::Kind::Failed;
}

}  // namespace

RpcFailure RpcFailure::of(const kj::Exception& exception) {
  return {kindOf(exception.getType()), exception.getDescription().cStr()};
}

const char* nameOf(RpcFailure::Kind kind) {
  switch (kind) {
    case RpcFailure::Kind::Disconnected:
      return "disconnected";
    case RpcFailure::Kind::TimedOut:
      return "timed out";
    case RpcFailure::Kind::Overloaded:
      return "overloaded";
    case RpcFailure::Kind::Failed:
      return "failed";
    case RpcFailure::Kind::Cancelled:
      return "cancelled";
    case RpcFailure::Kind::Unimplemented:
      return "unimplemented";
  }
  return "unknown";
}

}  // namespace tessera
