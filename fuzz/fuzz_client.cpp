// Feeds the client's parsers. The first byte says which; what they accept is written, read and shown again.
#include <stdint.h>
#include <stdlib.h>
#include <unistd.h>

#include "client/arguments.h"
#include "client/comparable.h"
#include "client/input.h"
#include "client/json.h"
#include "client/output.h"
#include "desk/answer_rows.h"
#include "desk/control.h"
#include "desk/recording.h"
#include "desk/words.h"

using namespace atd;
using namespace atd::client;

namespace {

void check(bool good) {
  if (!good) abort();
}

// The text of a line after its word.
std::string argument_of(const std::string& line) { return line.substr(line.find(' ') + 1); }

void messages(const std::string& text) {
  static const Masks masks;
  Splitter splitter;
  Message message;
  for (size_t at = 0, size = 1; at < text.size(); at += size++) {
    splitter.add(text.data() + at, std::min(size, text.size() - at));
    while (splitter.next(&message)) {
      message_text(message);
      message_json({}, 1, message);
      masks.apply(message);
    }
  }
}

void recording(const std::string& text) {
  Event event, again;
  if (!parse_event(text, &event).empty() || !parse_event(event_line(event), &again).empty()) return;
  check(event_line(again) == event_line(event));
}

void answer_rows(const std::string& text) {
  for (RowsOf whose : {RowsOf::modem, RowsOf::platform}) {
    AnswerRow row;
    if (parse_answer_row(text, whose, &row).empty()) check(matches(row, row.opcode, row.payload));
  }
}

void batch(const std::string& text) {
  int ends[2];
  check(pipe(ends) == 0 && write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size()));
  close(ends[1]);
  InputLines lines(ends[0]);
  for (std::string line; lines.take(&line);) {
    Request request, again;
    if (parse_request(line, &request.opcode, &request.payload)) break;
    check(decode_request(argument_of(request_line(request.opcode, request.payload)), &again));
    check(again.opcode == request.opcode && again.payload == request.payload);
  }
  close(ends[0]);
}

void records(const std::string& text) {
  Response response, again;
  Request request;
  std::string error;
  decode_request(text, &request);
  if (!decode_response(text, &response, &error) && !decode_response(to_base64(text), &response, &error)) return;
  for (int32_t opcode : {0, 4010, 4081}) answer_text(opcode, response), answer_json(opcode, response);
  check(decode_response(argument_of(response_line(response)), &again, &error) && again.data == response.data);
}

void words(const std::string& text) {
  std::string bytes;
  ControlReply reply, again;
  if (!parse_hex(text, &bytes)) check(bytes.size() <= text.size() / 2);
  hexdump(text);
  wrapped(text, 4, 80);
  if (from_line(text, &reply)) check(from_line(to_line(reply), &again) && again.out == reply.out);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr void (*kParsers[])(const std::string& text) = {messages, recording, answer_rows, batch, records, words};
  if (size > 0) kParsers[data[0] % std::size(kParsers)]({reinterpret_cast<const char*>(data) + 1, size - 1});
  return 0;
}
