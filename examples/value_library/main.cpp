// The value library in use: reads a JSON text, converts a type of its own, encrypts a string and writes JSON.

#include <core/SwAny.h>
#include <core/SwJsonDocument.h>
#include <core/SwString.h>

#include <iostream>

/// SwAny identifies a type by its name throughout the process, so the name must be unique: the type is in a
/// namespace of its own, and not in an anonymous one.
namespace weather {

struct Temperature {
  double celsius = 0.0;
};

}  // namespace weather

namespace {

using weather::Temperature;

/// Registers the type. A program does this once, before other threads use SwAny. The first use of a registry
/// writes one line to standard error; a second such line would mean that the process holds two copies of the
/// library.
void registerTemperature() {
  SwAny::registerMetaType<Temperature>();
  SwAny::registerConversion<SwString, Temperature>(
      [](const SwString& text) { return Temperature{text.toDouble()}; });
  SwAny::registerConversion<Temperature, SwString>([](const Temperature& temperature) {
    return SwString("%1 degrees").arg(SwAny(temperature.celsius).toString(3));
  });
}

/// The members of a JSON object. If the text is not JSON, writes the reason and returns no members.
SwJsonObject read(const SwString& json) {
  SwJsonDocument document;
  SwString error;
  if (!document.loadFromJson(json, error)) {
    std::cout << "refused: " << error << '\n';
    return SwJsonObject();
  }
  return document.object();
}

}  // namespace

int main() {
  read(R"({"name" "yard"})");
  SwJsonObject station = read(R"({"name": "yard", "measured": "21.5", "limits": [-10, 40]})");

  // A member that is not there reads as Null, or as the default that value() takes.
  std::cout << station["name"].text() << ", in " << station.value("unit", "Celsius").text() << '\n';
  if (const SwJsonArray* limits = station["limits"].array()) {
    std::cout << "up to " << limits->at(1).integer() << '\n';
  }

  // SwAny finds a type by its name; toString() uses the registered conversion to text.
  registerTemperature();
  const SwAny measured = SwString(station["measured"].text());
  const SwAny temperature = measured.convert(SwAny::typeNameOf<Temperature>());
  std::cout << temperature.get<Temperature>().celsius * 2 << " is twice " << temperature.toString(6) << '\n';

  SwString secret = SwString("gate 7").encryptAES("a key of your own");
  std::cout << "the secret is " << secret.decryptAES("a key of your own") << '\n';

  station.insert("secret", secret);
  station.insert("limits", SwJsonArray{-10, 45});
  SwString json;
  SwJsonDocument().generateJson(station, json, true, 0, "");
  std::cout << json << '\n';
}
