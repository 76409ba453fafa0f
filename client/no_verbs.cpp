// atdctl for a phone is linked with this in place of the simulated phone.
#include "desk/verb.h"

namespace atd {

const std::vector<Verb>& phone_verbs() {
  static const std::vector<Verb> none;
  return none;
}

}  // namespace atd
