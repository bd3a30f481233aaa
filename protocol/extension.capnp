@0xbfd16b3e79366408;
# Between the host service and one extension process, over the socket that the extension
# inherits: the extension exports FileProviderExtension, the host ExtensionHost.

using Cxx = import "/capnp/c++.capnp";
using import "error.capnp".Error;
$Cxx.namespace("tessera::wire");

struct ProviderItem {
  # An item as the platform sees it. Dates are nanoseconds since 1970-01-01 UTC.

  identifier @0 :Text;
  parentIdentifier @1 :Text;
  filename @2 :Text;
  contentType @3 :Text;
  versionIdentifier @4 :Text;
  documentSize @5 :UInt64;
  childItemCount @6 :UInt64;
  created @7 :Int64;
  modified @8 :Int64;
  lastUsed @9 :Int64;
  favoriteRank @10 :Int64;
  tags @11 :List(Text);

  hasDocumentSize @12 :Bool;
  hasChildItemCount @13 :Bool;
  hasCreated @14 :Bool;
  hasModified @15 :Bool;
  hasLastUsed @16 :Bool;
  hasFavoriteRank @17 :Bool;
  isDownloaded @18 :Bool;
  isCurrent @19 :Bool;
  isUploaded @20 :Bool;
  isTrashed @21 :Bool;
  isShared @22 :Bool;
}

struct Page {
  # Where a listing goes on.
  union {
    none @0 :Void;
    # As a start: no page given. As an answer: the end.
    initialByName @1 :Void;
    initialByDate @2 :Void;
    token @3 :Data;
  }
}

interface FileProviderExtension {
  ping @0 ();
  # An empty request, taken by a worker thread like every other.

  itemForIdentifier @1 (identifier :Text) -> (item :ProviderItem, found :Bool, error :Error);
  urlForItem @2 (identifier :Text) -> (path :Text, found :Bool);
  identifierForItemAtPath @3 (path :Text) -> (identifier :Text, found :Bool);
  enumeratorForContainer @4 (identifier :Text) -> (enumerator :Enumerator, error :Error);
  startProviding @5 (path :Text, readingOptions :UInt64) -> (error :Error);
  providePlaceholder @6 (path :Text) -> (error :Error);
}

interface Enumerator {
  # Invalidated when its last reference is dropped.

  enumerateItems @0 (startingAt :Page) -> (items :List(ProviderItem), next :Page, error :Error);
  enumerateChanges @1 (fromAnchor :Data)
      -> (updates :List(ProviderItem), deletions :List(Text), anchor :Data, moreComing :Bool,
          error :Error);
  # A container without change enumeration answers with an error.
  currentSyncAnchor @2 () -> (anchor :Data, error :Error);
}

interface ExtensionHost {
  signalEnumerator @0 (containerIdentifier :Text) -> (error :Error);
}
