// Texts of 5, 10 and 20 MB, each of one thing alone: the time has to grow as the size does.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdint>
#include <string>

#include "core/SwJsonDocument.h"

namespace {

std::string repeated(const std::string& piece, std::size_t bytes) {
  std::string text;
  text.reserve(bytes);
  while (text.size() + piece.size() <= bytes) text += piece;
  return text;
}

// A text of about `bytes` bytes, consisting of one thing.
struct Shape {
  const char* name;
  std::string (*text)(std::size_t bytes);
};

const Shape kShapes[] = {
    {"nested_arrays", [](std::size_t bytes) { return repeated("[", bytes / 2) + repeated("]", bytes / 2); }},
    {"nested_objects",
     [](std::size_t bytes) {
       const std::string opening = repeated("{\"a\":", bytes / 6 * 5);
       return opening + "1" + std::string(opening.size() / 5, '}');
     }},
    {"unclosed_arrays", [](std::size_t bytes) { return repeated("[", bytes); }},
    {"one_string", [](std::size_t bytes) { return "\"" + repeated("plain text ", bytes) + "\""; }},
    {"short_strings", [](std::size_t bytes) { return "[" + repeated("\"short\",", bytes) + "]"; }},
    {"escapes", [](std::size_t bytes) { return "\"" + repeated("\\n\\u00e9\\ud83d\\ude00", bytes) + "\""; }},
    {"integers", [](std::size_t bytes) { return "[" + repeated("1234567,", bytes) + "]"; }},
    {"decimals", [](std::size_t bytes) { return "[" + repeated("-12.75e-3,", bytes) + "]"; }},
    {"one_decimal", [](std::size_t bytes) { return "0." + repeated("1234567890", bytes); }},
    {"one_integer", [](std::size_t bytes) { return repeated("1234567890", bytes); }},
    {"equal_keys", [](std::size_t bytes) { return "{" + repeated("\"key\":1,", bytes) + "}"; }},
};

// Everything that a text goes through: read, copied, compared, written and freed; only read, if it is
// refused.
void useText(benchmark::State& state, const SwString& json) {
  for (auto _ : state) {
    SwJsonDocument document;
    SwString error;
    if (!document.loadFromJson(json, error)) continue;
    const SwJsonValue copy(document.root());
    benchmark::DoNotOptimize(copy == document.root());
    SwString text;
    document.generateJson(copy, text, false, 0, SwString());
    benchmark::DoNotOptimize(text);
  }
}

void addGrowth(const Shape& shape) {
  for (const int megabytes : {5, 10, 20}) {
    const std::string name = std::string("growth/") + shape.name + "/" + std::to_string(megabytes);
    const auto use = [shape, megabytes](benchmark::State& state) {
      const std::string text = shape.text(static_cast<std::size_t>(megabytes) * 1'000'000);
      useText(state, text);
      state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
    };
    benchmark::RegisterBenchmark(name.c_str(), use)
        ->Iterations(1)
        ->Repetitions(3)
        ->Unit(benchmark::kMillisecond);
  }
}

}  // namespace

int main(int argc, char** argv) {
  // Large blocks come fresh from the system, whatever was freed before. Otherwise the small sizes would be
  // spared that and the large ones not.
  mallopt(M_MMAP_THRESHOLD, 128 * 1024);
  for (const Shape& shape : kShapes) addGrowth(shape);

  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
