@0xd3a1c5e0b7f24986;
# What the tests of the RPC layer call.

using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("tessera::probe");

interface Probe {
  ping @0 ();
  # Counts, and answers.

  hang @1 (cancellable :Bool, ballast :Data) -> ();
  # Never answers.

  add @2 (left :Int64, right :Int64) -> (sum :Int64);

  fail @3 () -> ();

  bytes @4 (count :UInt32, late :Bool) -> (data :Data);
  # Answers with `count` bytes; a late answer comes when the server is told to give it.

  counts @5 () -> (pings :UInt32, hangs :UInt32, cancellations :UInt32);

  pushTo @6 (receiver :Receiver, number :UInt32) -> ();
  # Calls the receiver and answers once it has.

  open @7 (text :Text) -> (file :Descriptor);

  unknown @8 ();
  # Not implemented by the server.

  leave @9 ();
  # The server closes the connection from inside this call.
}

interface Receiver {
  push @0 (number :UInt32) -> ();
}

interface Descriptor {}
