#include "client/arguments.h"
#include "client/commands.h"
#include "client/input.h"
#include "client/json.h"
#include "client/output.h"
#include "client/output_file.h"
#include "desk/words.h"
#include "platform/records.h"

namespace atd::client {
namespace {

// The value alone, for a script: a text as it is, a byte as a number, other bytes in hex.
std::string value_text(int32_t opcode, const std::string& data) {
  std::string text;
  switch (shape_of(find_opcode(opcode), data)) {
    case Shape::none: return "";
    case Shape::text: text = text_of(data); break;
    case Shape::byte: text = std::to_string(static_cast<unsigned char>(data[0])); break;
    case Shape::hex: text = to_hex(data); break;
  }
  return text.ends_with('\n') ? text : text + '\n';
}

// Prints the answer or writes it to the file, as the arguments say.
Failure deliver(const RequestArguments& arguments, int32_t opcode, const Response& response, OutputFile& file) {
  Failure failure;
  const bool alone = arguments.value || file.is_open();  // the data is wanted and nothing else
  if (file.is_open() && response.result == RZCMD_OK) failure = file.write(response.data);
  if (failure) return failure;
  if (arguments.json) return print(answer_json(opcode, response));
  if (!alone) return print(answer_text(opcode, response));
  if (response.result != RZCMD_OK) {
    const std::string text = answer_text(opcode, response);
    return {result_status(response.result), text.substr(0, text.find('\n'))};
  }
  return arguments.value ? print(value_text(opcode, response.data)) : Failure();
}

}  // namespace

int run_request(const Target& target, const RequestArguments& arguments) {
  int32_t opcode = 0;
  std::string payload;
  Failure failure = parse_opcode(arguments.opcode, &opcode);
  if (!failure && arguments.has_hex) failure = parse_hex(arguments.hex, &payload);
  if (!failure && arguments.has_file) failure = read_file(arguments.file, MAX_RZCMD_REQ_SIZE, &payload);
  if (!failure && arguments.has_text) failure = parse_text(arguments.text, &payload);
  const Given given = arguments.has_text                        ? Given::text
                      : arguments.has_hex || arguments.has_file ? Given::bytes
                      : arguments.read                          ? Given::reading
                                                                : Given::nothing;
  if (!failure) failure = check_payload(opcode, given, payload);
  OutputFile file;
  if (!failure && !arguments.output.empty()) failure = file.open(arguments.output);
  Connection connection;
  Response response;
  Deadline deadline = in_seconds(target.timeout);
  if (!failure) failure = connect(connection, target, deadline);
  if (!failure) failure = ask(connection, target, opcode, payload, deadline, &response);
  if (failure) return complain(failure);
  return worse(complain(deliver(arguments, opcode, response, file)), result_status(response.result));
}

}  // namespace atd::client
