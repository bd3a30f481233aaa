@0xb7d5ec9adc03fd18;
# What the sync daemon, skiff, offers on its socket (run/skiff.sock below the home).
#
# Whoever connects is checked by the kernel's credentials before this interface is reached:
# the instance's own user, or root.

using Cxx = import "/capnp/c++.capnp";
using import "error.capnp".Error;
using import "item.capnp".Item;
$Cxx.namespace("tessera::wire");

interface Skiff {
  # The bootstrap capability.

  ping @0 ();
  # Answered on the loop itself: says only that the process is alive.

  enumerateItemsInFolder @1 (folder :Text, sortOrder :UInt8, offset :UInt64, limit :UInt64)
      -> (items :List(Item), nextOffset :UInt64, error :Error);
  # Entries of a folder in the order asked for: 0 by name, 1 by date of modification, latest
  # first. folder "" is the root. nextOffset is 0 at the end. limit is 1 to 1000.

  enumerateAllFolders @2 (sortOrder :UInt8, offset :UInt64, limit :UInt64)
      -> (items :List(Item), nextOffset :UInt64, error :Error);

  enumerateWorkingSetChanges @3 (changeToken :Data, limit :UInt64)
      -> (updates :List(Item), deletions :List(Text), newToken :Data, error :Error);
  # Changes of the whole tree after changeToken (empty: from the beginning). The new token
  # equals the one given when there is nothing more. Deletions are identifiers.

  itemAtPath @4 (path :Text, scanFirst :Bool) -> (item :Item, error :Error);
  # The record of the item at an absolute path. With scanFirst the path is looked at on disk
  # before the answer, as if a change had just been reported there.

  documentPath @5 (fileObjectId :Text) -> (path :Text, isReference :Bool, error :Error);
  # Where an item is in the tree. isReference: a document kept elsewhere is behind it.

  resolveReference @6 (path :Text) -> (path :Text, error :Error);

  containerItem @7 (containerId :Text, scanFirst :Bool) -> (item :Item, found :Bool);
  # The record of a container's documents folder.

  updateSender @8 (receiver :UpdateReceiver) -> (sender :UpdateSender, error :Error);

  download @9 (path :Text, readingOptions :UInt64, wantsCurrentVersion :Bool) -> (error :Error);
  # Answers once the item's content is present. Dropping the call cancels this request; the
  # transfer goes on when others wait for it too.

  admin @10 () -> (admin :Admin);
}

interface UpdateReceiver {
  # Implemented by whoever watches. Each batch waits for the answer to the one before.

  receiveUpdates @0 (updates :List(Item));
  receiveProgressUpdates @1 (updates :List(Item)) -> stream;
  # Progress of transfers; never waited for.
}

interface UpdateSender {
  boostPriority @0 ();
  watchItemAtPath @1 (path :Text, options :UInt64) -> (error :Error);
  # Bit 4 of options (value 0x4) watches the whole subtree, otherwise the folder's children.
  invalidate @2 ();
}

interface Admin {
  # What a person does with the daemon: the account, the cloud, how things stand.

  status @0 () -> (status :Status);
  login @1 (accountName :Text) -> (error :Error);
  # Makes the account in the cloud when it is not there. Refused while another account's
  # documents are in the tree. Answers when the change can be seen by everyone.
  logout @2 () -> (error :Error);

  importFolder @3 (path :Text, containerId :Text, progress :ImportProgress)
      -> (result :ImportResult, error :Error);
  # Puts the documents below a folder of this machine into the signed-in account's cloud,
  # not into this device's tree. Dropping the call ends it after the batch under way.

  addContainer @4 (containerId :Text, displayName :Text, iconPaths :List(Text)) -> (error :Error);
  containers @5 () -> (containers :List(ContainerInfo), error :Error);

  waitUntilIdle @6 () -> (error :Error);
  # Answers once everything the cloud had when the call came is in the tree.
}

struct Status {
  pid @0 :UInt32;
  version @1 :Text;
  home @2 :Text;
  tree @3 :Text;
  cloudUrl @4 :Text;
  cloudState @5 :Text;
  # "connected", "unreachable" or "none"; a reason follows in cloudMessage.
  cloudMessage @6 :Text;
  accountName @7 :Text;
  # Empty when nobody is signed in.
  placeholders @8 :Text;
  # "hidden" or "hook".
  folders @9 :UInt64;
  documents @10 :UInt64;
  present @11 :UInt64;
  # Documents whose content is on the device.
  presentBytes @12 :UInt64;
  applying @13 :Bool;
  # Changes from the cloud are being put into the tree just now.
  downloads @14 :List(Transfer);
  problems @15 :List(Text);
  # What a person should know of: documents left out, content that was refused.
}

struct Transfer {
  fileObjectId @0 :Text;
  path @1 :Text;
  bytesDone @2 :UInt64;
  bytesTotal @3 :UInt64;
}

struct ContainerInfo {
  containerId @0 :Text;
  displayName @1 :Text;
  documentsPath @2 :Text;
}

interface ImportProgress {
  report @0 (documents :UInt64, bytes :UInt64, total :UInt64) -> stream;
  # total is 0 while the folder is still being read.
}

struct ImportResult {
  folders @0 :UInt64;
  documents @1 :UInt64;
  bytes @2 :UInt64;
  unchanged @3 :UInt64;
  # Documents that the cloud had already with the same content.
  leftOut @4 :List(Problem);
  # At most 1000 of them; leftOutCount tells all.
  leftOutCount @5 :UInt64;

  struct Problem {
    path @0 :Text;
    reason @1 :Text;
  }
}
