// SPDX-License-Identifier: Apache-2.0
#include <filesystem>
#include <string>

#include "host/Commands.h"
#include "host/Failure.h"
#include "host/KeptAnswers.h"
#include "host/Screen.h"

namespace host {

void forget(const ForgetOptions& /*options*/, Screen& screen) {
  std::int64_t count = 0;
  if (std::filesystem::exists(platform::AnswerStore::pathFor("brivane"))) {
    std::string fault;
    const auto answers = openAnswers([&fault](const std::string& told) { fault = told; });
    count = answers->count();
    answers->forget();
    if (answers->count() > 0) throw Failure(kServiceFailure, fault);
  }
  screen.print("Answers forgotten: " + std::to_string(count));
}

}  // namespace host
