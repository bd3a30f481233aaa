// Listing a folder through the extension, page by page, in both orders, against the same
// rows read straight from the item store in one ordered loop.
//
//   listing-bench [DOCUMENTS]     (default 100000)

#include <capnp/rpc-twoparty.h>
#include <kj/async-io.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "BenchInstance.h"
#include "home/Home.h"
#include "protocol/host.capnp.h"
#include "skiff/store/ItemRow.h"
#include "sqlite/Database.h"

namespace tessera {
namespace {

using Clock = std::chrono::steady_clock;

double microsecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

struct ListingTimes {
  std::size_t items = 0;
  std::vector<double> pages;  // microseconds each, in order

  [[nodiscard]] double total() const {
    double sum = 0;
    for (const double page : pages) sum += page;
    return sum;
  }
};

ListingTimes listThroughExtension(kj::AsyncIoContext& io, wire::FileProviderHost::Client& host,
                                  const std::string& folder, bool byDate) {
  auto ask = host.enumeratorRequest();
  ask.setContainerIdentifier(folder.c_str());
  auto answer = ask.send().wait(io.waitScope);
  if (answer.getError().getDomain().size() > 0) std::exit(1);
  auto enumerator = answer.getEnumerator();

  ListingTimes times;
  std::vector<std::uint8_t> token;
  for (bool first = true; first || !token.empty(); first = false) {
    const auto start = Clock::now();
    auto request = enumerator.enumerateItemsRequest();
    if (!first) {
      request.getStartingAt().setToken(kj::arrayPtr(token.data(), token.size()));
    } else if (byDate) {
      request.getStartingAt().setInitialByDate();
    } else {
      request.getStartingAt().setInitialByName();
    }
    auto page = request.send().wait(io.waitScope);
    if (page.getError().getDomain().size() > 0) std::exit(1);
    times.items += page.getItems().size();
    token.clear();
    if (page.getNext().isToken()) {
      const auto bytes = page.getNext().getToken();
      token.assign(bytes.begin(), bytes.end());
    }
    times.pages.push_back(microsecondsSince(start));
  }
  return times;
}

// The same rows, all fields, decoded one after the other.
double readFromStore(const Home& home, bool byDate, std::size_t expected) {
  Database store(home.itemStore(), {.mode = Database::Mode::ReadOnly});
  const auto start = Clock::now();
  std::size_t count = 0;
  std::uint64_t sum = 0;
  auto rows = store.query("SELECT " + std::string(kItemColumns) +
                          " FROM items WHERE parent = (SELECT id FROM items WHERE name = 'bench')"
                          " ORDER BY " +
                          (byDate ? "recency, fold, name" : "fold, name"));
  while (rows.step()) {
    const StoredItem item = readItem(rows);
    sum += item.name.size();
    ++count;
  }
  const double time = microsecondsSince(start);
  if (count != expected || sum == 0) {
    std::fprintf(stderr, "benchmark: %zu rows in the store, not %zu\n", count, expected);
    std::exit(1);
  }
  return time;
}

double medianOfEnd(const std::vector<double>& pages, bool last) {
  const std::size_t count = std::min<std::size_t>(20, pages.size() / 4);
  // The very last page is not full.
  const auto begin = last ? pages.end() - static_cast<std::ptrdiff_t>(count) - 1 : pages.begin();
  return percentiles(std::vector<double>(begin, begin + static_cast<std::ptrdiff_t>(count))).p50;
}

int run(std::size_t documents) {
  BenchInstance instance;
  fillCloud(instance.cloud(), "bench", documents);
  instance.tessera({"up"});
  instance.tessera({"login", "bench"});
  instance.tessera({"status", "--wait"});

  const Home home = Home::fromEnvironment();
  auto io = kj::setupAsyncIo();
  auto stream = io.provider->getNetwork()
                    .parseAddress(("unix:" + home.hostSocket().string()).c_str())
                    .wait(io.waitScope)
                    ->connect()
                    .wait(io.waitScope);
  capnp::TwoPartyClient client(*stream);
  auto host = client.bootstrap().castAs<wire::FileProviderHost>();
  auto ask = host.identifierForItemAtPathRequest();
  ask.setPath((home.tree() / "bench").c_str());
  const std::string folder = ask.send().wait(io.waitScope).getIdentifier().cStr();

  for (const bool byDate : {false, true}) {
    const std::string order = byDate ? "by date" : "by name";
    std::vector<double> ratios;
    ListingTimes best;
    double baseline = 0;
    for (int round = 0; round < 3; ++round) {
      const double store = readFromStore(home, byDate, documents);
      const ListingTimes listing = listThroughExtension(io, host, folder, byDate);
      if (listing.items < documents) std::exit(1);
      if (round == 0 || listing.total() / store < best.total() / baseline) {
        best = listing;
        baseline = store;
      }
    }
    printRatio(
        "listing " + std::to_string(documents) + " documents " + order + " through the extension",
        best.total() / 1000, "the same rows from the store in one loop", baseline / 1000, "ms", 4);
    printRatio("last page " + order, medianOfEnd(best.pages, true), "first page",
               medianOfEnd(best.pages, false), "us", 1.2);
  }
  return 0;
}

}  // namespace
}  // namespace tessera

int main(int argc, char** argv) {
  return tessera::run(argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 100'000);
}
