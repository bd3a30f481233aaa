@0x9aa816bc14125f58;
# Errors as values. A request that fails in the system's own terms answers with an Error in
# its results; an exception of the RPC layer means that the peer broke or went away.

using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("tessera::wire");

struct Error {
  # A domain, a code in it, and extra information, as the platform's errors have.

  domain @0 :Text;
  # Empty when the struct stands for "no error".

  code @1 :Int64;
  userInfo @2 :List(Entry);

  struct Entry {
    key @0 :Text;
    value :union {
      text @1 :Text;
      number @2 :Int64;
      error @3 :Error;
      # NSUnderlyingErrorKey, for example. At most eight levels are read.
      path @4 :Text;
      # A URL's path.
      identifier @5 :Text;
      # An item, by its identifier.
    }
  }
}
