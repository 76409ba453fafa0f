// docs/json-schema.json: every JSON output that a test sees is as it says.
#include <nlohmann/json.hpp>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>

#include "daemon/calls.h"
#include "desk/verb.h"
#include "simulator/control.h"
#include "tests/client_daemon.h"

namespace atd::client {

using nlohmann::json;
using Adapter = valijson::adapters::NlohmannJsonAdapter;

std::string not_as_documented(const Strings& arguments, const std::string& out) {
  json root = json::parse(content(ATD_DOCS "/json-schema.json"));
  std::string definition = "failure", phone;
  for (const std::string& word : arguments) {
    const std::string command = phone + word;
    if (word == "phone") phone = "phone_";
    if (root["definitions"].contains(command)) definition = command;
    if (definition != "failure") break;
  }
  root["anyOf"] = {{{"$ref", "#/definitions/failure"}}, {{"$ref", "#/definitions/" + definition}}};
  if (!phone.empty()) root["anyOf"].push_back({{"$ref", "#/definitions/done"}});
  valijson::Schema schema;
  valijson::SchemaParser(valijson::SchemaParser::kDraft7).populateSchema(Adapter(root), schema);
  std::istringstream stream(out);
  for (json value; stream >> std::ws && stream.peek() != EOF;) {
    stream >> value;  // throws, which fails the test
    if (!valijson::Validator().validate(schema, Adapter(value), nullptr)) return definition + ": " + value.dump();
  }
  return "";
}

namespace {

TEST(JsonSchema, RefusesWhatIsNotDocumented) {
  const json good = {{"seconds", 0.1}, {"status", 0}, {"error", nullptr}};
  EXPECT_EQ("", not_as_documented({"wait"}, good.dump()));
  for (const auto& [field, value] : good.items()) {
    json more = good, less = good, other = good;
    more["more"] = value;
    less.erase(field);
    other[field] = json::array();
    for (const json& bad : {more, less, other}) EXPECT_NE("", not_as_documented({"wait"}, bad.dump())) << bad;
  }
  EXPECT_NE("", not_as_documented({"wait"}, R"({"status":0,"error":"a failure with the status of success"})"));
}

// Those that need no argument, and some that have one.
TEST_F(Phone, VerbsPrintWhatIsDocumented) {
  device().host.call = [](const Strings& given) -> sim::HostAnswer {
    const CallAnswer answer = atd::run(read_call(given), {"", true});
    return {answer.text, answer.json, answer.status, answer.error};
  };
  std::vector<Strings> all = {words("fault set any late=5"), words("item set 9 SN1"),      words("item get 9"),
                              words("card insert"),          words("property ro.x"),       words("call get_pid"),
                              words("call poweroff"),        words("call get_pid --help"), words("export -"),
                              words("item get 9 4")};
  for (const Verb& verb : phone_verbs()) {
    if (*verb.arguments == '\0' || *verb.arguments == '[') all.push_back(words(verb.name));
  }
  for (Strings verb : all) {
    std::string out;
    sim::run_verb(device(), {verb, true, ""}, [&](const ControlReply& reply) { return out += reply.out, true; });
    verb.insert(verb.begin(), "phone");
    EXPECT_EQ("", not_as_documented(verb, out)) << testing::PrintToString(verb);
  }
}

}  // namespace
}  // namespace atd::client
