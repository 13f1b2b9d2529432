// JSON as a frame brings it: a payload of 64 detections whose masks are nearly all of its bytes; and as a
// configuration does: many small objects. The same text goes through RapidJSON, nlohmann's library and
// simdjson, each with its default settings, in the same run. What each makes of it is compared before
// anything is timed. Documents of 100,000 values are also read and written under a key, beside the same
// without one.

#include <benchmark/benchmark.h>
#include <rapidjson/document.h>
#include <simdjson.h>

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bench/silhouette.h"
#include "core/SwJsonDocument.h"

namespace {

SwJsonValue parsed(const SwString& text, const SwString& key = SwString()) {
  SwJsonDocument document;
  SwString error;
  if (!document.loadFromJson(text, error, key)) throw std::runtime_error(error);
  return document.takeRoot();
}

std::string generated(const SwJsonValue& value, const SwString& key = SwString()) {
  SwString text;
  SwJsonDocument().generateJson(value, text, false, 0, key);
  return text;
}

// --- the texts

SwJsonValue detection(int number) {
  SwJsonObject members;
  members.insert("x", 13 * number);
  members.insert("y", 7 * number);
  members.insert("w", 160 + number);
  members.insert("h", 320 - number);
  members.insert("class_id", number % 20);
  members.insert("score", 0.5 + number / 256.0);
  members.insert("class_info", bench::silhouetteText(160, 160, 0.1 * number));
  return members;
}

std::string payloadText() {
  SwJsonArray detections;
  for (int i = 0; i < 64; ++i) detections.append(detection(i));
  SwJsonObject payload;
  payload.insert("detections", std::move(detections));
  return generated(std::move(payload));
}

std::string smallObjectsText(std::size_t bytes) {
  std::string text = "[";
  for (int i = 0; text.size() < bytes; ++i) {
    if (i != 0) text += ',';
    text += "{\"id\": " + std::to_string(i) + ",\"x\": " + std::to_string(i % 1920) +
            ",\"y\": " + std::to_string(i % 1080) + ",\"score\": 0." + std::to_string(100 + i % 900) +
            ",\"visible\": " + (i % 3 == 0 ? "true" : "false") + ",\"parent\": null}";
  }
  return text + "]";
}

SwJsonValue arrayOf(SwJsonValue (*element)(int number)) {
  SwJsonArray array;
  for (int i = 0; i < 100'000; ++i) array.append(element(i));
  return array;
}

// --- the peers' trees, as ours, to be compared

SwJsonValue asOurs(const nlohmann::json& value) {
  switch (value.type()) {
    case nlohmann::json::value_t::boolean:
      return value.get<bool>();
    case nlohmann::json::value_t::number_integer:
    case nlohmann::json::value_t::number_unsigned:
      return value.get<std::int64_t>();
    case nlohmann::json::value_t::number_float:
      return value.get<double>();
    case nlohmann::json::value_t::string:
      return value.get<std::string>();
    case nlohmann::json::value_t::array: {
      SwJsonArray array;
      for (const auto& element : value) array.append(asOurs(element));
      return array;
    }
    case nlohmann::json::value_t::object: {
      SwJsonObject object;
      for (const auto& [key, member] : value.items()) object.insert(key, asOurs(member));
      return object;
    }
    default:
      return nullptr;
  }
}

SwJsonValue asOurs(const rapidjson::Value& value) {
  if (value.IsBool()) return value.GetBool();
  if (value.IsInt64()) return value.GetInt64();
  if (value.IsDouble()) return value.GetDouble();
  if (value.IsString()) return std::string(value.GetString(), value.GetStringLength());
  if (value.IsArray()) {
    SwJsonArray array;
    for (const auto& element : value.GetArray()) array.append(asOurs(element));
    return array;
  }
  if (value.IsObject()) {
    SwJsonObject object;
    for (const auto& member : value.GetObject()) object.insert(member.name.GetString(), asOurs(member.value));
    return object;
  }
  return nullptr;
}

SwJsonValue asOurs(simdjson::dom::element value) {
  switch (value.type()) {
    case simdjson::dom::element_type::BOOL:
      return bool(value);
    case simdjson::dom::element_type::INT64:
    case simdjson::dom::element_type::UINT64:
      return std::int64_t(value);
    case simdjson::dom::element_type::DOUBLE:
      return double(value);
    case simdjson::dom::element_type::STRING:
      return std::string(std::string_view(value));
    case simdjson::dom::element_type::ARRAY: {
      SwJsonArray array;
      for (const auto element : simdjson::dom::array(value)) array.append(asOurs(element));
      return array;
    }
    case simdjson::dom::element_type::OBJECT: {
      SwJsonObject object;
      for (const auto& member : simdjson::dom::object(value))
        object.insert(std::string(member.key), asOurs(member.value));
      return object;
    }
    default:
      return nullptr;
  }
}

rapidjson::Document rapidParsed(const std::string& text) {
  rapidjson::Document document;
  document.Parse(text.data(), text.size());
  if (document.HasParseError()) throw std::runtime_error("RapidJSON refuses the text");
  return document;
}

void checkThatAllAgree(const std::string& text) {
  const SwJsonValue ours = parsed(text);
  const nlohmann::json nlohmannTree = nlohmann::json::parse(text);
  simdjson::dom::parser parser;
  const bool equal = ours == asOurs(nlohmannTree) && ours == asOurs(rapidParsed(text)) &&
                     ours == asOurs(parser.parse(text).value()) && ours == SwJsonValue(ours) &&
                     ours == parsed(generated(ours)) &&
                     nlohmann::json::parse(generated(ours)) == nlohmannTree;
  if (!equal) throw std::runtime_error("the libraries do not agree on the benchmark's text");
}

// --- what is timed; a tree's destruction belongs to the work

void parseOurs(benchmark::State& state, const std::string& text) {
  const SwString json(text);
  SwString error;
  for (auto _ : state) {
    SwJsonDocument document;
    benchmark::DoNotOptimize(document.loadFromJson(json, error));
  }
}

void parseRapidJson(benchmark::State& state, const std::string& text) {
  for (auto _ : state) benchmark::DoNotOptimize(rapidParsed(text));
}

void parseNlohmann(benchmark::State& state, const std::string& text) {
  for (auto _ : state) benchmark::DoNotOptimize(nlohmann::json::parse(text));
}

// As its documentation advises, one parser serves all texts and keeps its memory.
void parseSimdjson(benchmark::State& state, const std::string& text) {
  simdjson::dom::parser parser;
  const simdjson::padded_string padded(text);
  for (auto _ : state) benchmark::DoNotOptimize(parser.parse(padded).value());
}

void copyOurs(benchmark::State& state, const std::string& text) {
  const SwJsonValue tree = parsed(text);
  for (auto _ : state) benchmark::DoNotOptimize(SwJsonValue(tree));
}

void copyNlohmann(benchmark::State& state, const std::string& text) {
  const nlohmann::json tree = nlohmann::json::parse(text);
  for (auto _ : state) benchmark::DoNotOptimize(nlohmann::json(tree));
}

void generateOurs(benchmark::State& state, const std::string& text) {
  const SwJsonValue tree = parsed(text);
  for (auto _ : state) benchmark::DoNotOptimize(generated(tree));
}

void generateNlohmann(benchmark::State& state, const std::string& text) {
  const nlohmann::json tree = nlohmann::json::parse(text);
  for (auto _ : state) benchmark::DoNotOptimize(tree.dump());
}

// The floor: the text's bytes, copied once.
void copyBytes(benchmark::State& state, const std::string& text) {
  std::vector<char> copy(text.size());
  for (auto _ : state) {
    std::copy(text.begin(), text.end(), copy.begin());
    benchmark::ClobberMemory();
  }
}

using Work = void (*)(benchmark::State&, const std::string&);

void add(const std::string& name, Work work, const std::string& text) {
  benchmark::RegisterBenchmark(name.c_str(), [work, &text](benchmark::State& state) {
    work(state, text);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
  });
}

void addComparison(const std::string& what, const std::string& text) {
  add(what + "/bytes/memcpy", copyBytes, text);
  add(what + "/parse/ours", parseOurs, text);
  add(what + "/parse/RapidJSON", parseRapidJson, text);
  add(what + "/parse/nlohmann", parseNlohmann, text);
  add(what + "/parse/simdjson", parseSimdjson, text);
  add(what + "/copy/ours", copyOurs, text);
  add(what + "/copy/nlohmann", copyNlohmann, text);
  add(what + "/generate/ours", generateOurs, text);
  add(what + "/generate/nlohmann", generateNlohmann, text);
}

void parseUnder(benchmark::State& state, const SwJsonValue& tree, const SwString& key) {
  const SwString json = generated(tree, key);
  for (auto _ : state) benchmark::DoNotOptimize(parsed(json, key));
}

void generateUnder(benchmark::State& state, const SwJsonValue& tree, const SwString& key) {
  for (auto _ : state) benchmark::DoNotOptimize(generated(tree, key));
}

// One tree without a key and under one.
void addKeyed(const std::string& what, const SwJsonValue& tree) {
  const SwString key("a key of the host");
  if (parsed(generated(tree, key), key) != tree)
    throw std::runtime_error("a keyed document comes back changed");
  for (const auto& [name, used] : {std::pair("plain", SwString()), std::pair("keyed", key)}) {
    benchmark::RegisterBenchmark((what + "/parse/" + name).c_str(), parseUnder, tree, used)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark((what + "/generate/" + name).c_str(), generateUnder, tree, used)
        ->Unit(benchmark::kMillisecond);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::string payload = payloadText();
  const std::string smallObjects = smallObjectsText(1'000'000);
  checkThatAllAgree(payload);
  checkThatAllAgree(smallObjects);
  addComparison("payload", payload);
  addComparison("small_objects", smallObjects);
  addKeyed("integers", arrayOf([](int number) { return SwJsonValue(number); }));
  addKeyed("strings", arrayOf([](int number) { return SwJsonValue("text " + std::to_string(number)); }));

  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
