#include "host/nearest_name.h"

#include <algorithm>
#include <cstddef>

namespace segmask {
namespace {

/// How many bytes have to be inserted, removed, changed, or swapped with their neighbour; `limit` where that
/// are at least as many. Names of very different lengths, which may be a file's, take no time and memory.
std::size_t distance(const std::string& a, const std::string& b, std::size_t limit) {
  if (std::max(a.size(), b.size()) - std::min(a.size(), b.size()) >= limit) return limit;
  std::vector<std::vector<std::size_t>> cost(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) {
    for (std::size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        cost[i][j] = i + j;
        continue;
      }
      const std::size_t change = cost[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      cost[i][j] = std::min({change, cost[i - 1][j] + 1, cost[i][j - 1] + 1});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
      }
    }
  }
  return std::min(cost[a.size()][b.size()], limit);
}

}  // namespace

std::string nearestName(const std::string& name, const std::vector<std::string>& names) {
  std::string nearest;
  std::size_t least = name.size() / 3 + 1;
  for (const std::string& candidate : names) {
    const std::size_t found = distance(name, candidate, least);
    if (found >= least) continue;
    least = found;
    nearest = candidate;
  }
  return nearest;
}

bool isMisspelling(const std::string& name, const std::string& meant) {
  const std::size_t most = meant.size() < 10 ? 1 : 2;
  return distance(name, meant, most + 1) <= most;
}

}  // namespace segmask
