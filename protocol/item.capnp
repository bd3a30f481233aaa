@0x8a3ee6b70f338aff;
# Records of items.

using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("tessera::wire");

struct Item {
  # One item as the sync daemon knows it. Identifiers are the 36 characters of a UUID in
  # lower-case hexadecimal. Dates are nanoseconds since 1970-01-01 UTC.

  fileObjectId @0 :Text;
  parentFileObjectId @1 :Text;
  # Empty for the root.
  filename @2 :Text;
  # One path component; valid UTF-8, any character but '/' and NUL.
  contentType @3 :Text;
  # MIME type; "inode/directory" for folders.
  versionIdentifier @4 :Text;
  # Changes with the content; empty for folders.

  documentSize @5 :UInt64;
  # Bytes; folders have none.
  childItemCount @6 :UInt64;
  # Folders only.
  created @7 :Int64;
  modified @8 :Int64;
  lastUsed @9 :Int64;
  # Only with hasLastUsed.
  favoriteRank @10 :Int64;
  # Only with hasFavoriteRank.
  tags @11 :List(Text);

  isFolder @12 :Bool;
  isRoot @13 :Bool;
  # The documents folder of the default container.
  parentIsRoot @14 :Bool;
  isDead @15 :Bool;
  # Gone: only fileObjectId means anything.
  isDownloaded @16 :Bool;
  isCurrent @17 :Bool;
  # The content here is the latest that the cloud has.
  isUploaded @18 :Bool;
  isTrashed @19 :Bool;
  isShared @20 :Bool;
  hasLastUsed @21 :Bool;
  hasFavoriteRank @22 :Bool;
}
