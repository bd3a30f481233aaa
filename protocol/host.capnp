@0xec29d5cc2b312c23;
# What the host service, fileproviderd, offers to the command line and to applications on its
# socket (run/fileproviderd.sock below the home). Every request about documents goes through
# the extension, which is started when the first one comes.

using Cxx = import "/capnp/c++.capnp";
using import "error.capnp".Error;
using import "extension.capnp".ProviderItem;
using import "extension.capnp".Enumerator;
$Cxx.namespace("tessera::wire");

interface FileProviderHost {
  # The bootstrap capability.

  ping @0 ();
  # Answered by the host itself.
  pingExtension @1 () -> (error :Error);
  # An empty request to the extension.

  itemForIdentifier @2 (identifier :Text) -> (item :ProviderItem, found :Bool, error :Error);
  urlForItem @3 (identifier :Text) -> (path :Text, found :Bool, error :Error);
  identifierForItemAtPath @4 (path :Text) -> (identifier :Text, found :Bool, error :Error);
  enumerator @5 (containerIdentifier :Text) -> (enumerator :Enumerator, error :Error);
  startProviding @6 (path :Text, readingOptions :UInt64) -> (error :Error);

  status @7 () -> (status :HostStatus);
  shutdown @8 () -> ();
  # Ends the extension, the daemon and then the host itself.
}

struct HostStatus {
  pid @0 :UInt32;
  version @1 :Text;
  home @2 :Text;
  tree @3 :Text;
  extensionPid @4 :UInt32;
  # 0 while it does not run.
  extensionStarts @5 :UInt32;
  extensionCrashes @6 :UInt32;
  skiffPid @7 :UInt32;
  # 0 while it does not run.
  skiffStarts @8 :UInt32;
  skiffMessage @9 :Text;
  # Why it does not run, when it does not.
}
