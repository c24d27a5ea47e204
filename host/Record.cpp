// SPDX-License-Identifier: Apache-2.0
#include <atomic>
#include <chrono>
#include <exception>
#include <filesystem>
#include <memory>
#include <string>

#include "host/Commands.h"
#include "host/Interrupt.h"
#include "host/MainLoop.h"
#include "host/NetworkRegion.h"
#include "host/Radio.h"
#include "host/Screen.h"
#include "host/Stopwatch.h"
#include "platform/replay/BtsnoopWriter.h"

namespace host {

void record(const RecordOptions& options, Screen& screen) {
  const MainLoop loop;
  std::atomic<bool> interrupted = false;
  platform::BtsnoopWriter capture(options.file);
  std::exception_ptr fault;
  const auto keep = [&](const platform::Advertisement& advertisement) {
    if (fault) return;
    try {
      capture.write(advertisement, std::chrono::time_point_cast<platform::Duration>(
                                       std::chrono::system_clock::now()));
    } catch (...) {
      fault = std::current_exception();
    }
  };
  Radio radio(screen, {.live = options.live, .log = options.log, .onAdvertisement = keep});
  const Interrupt interrupt([&] {
    interrupted = true;
    loop.wake();
  });
  const auto manager = radio.service()->createManager();
  manager->startMonitoringForRegion(networkRegion());
  const Stopwatch stopwatch;
  const auto ends = [&, shown = -1L]() mutable {
    const auto second = static_cast<long>(stopwatch.seconds());
    if (second != shown) screen.showProgress(std::to_string(capture.count()) + " frames");
    shown = second;
    return interrupted || fault || radio.isUseless();
  };
  loop.runUntil(ends, options.limit);
  if (fault) std::rethrow_exception(fault);
  capture.flush();
  if (radio.isUseless()) std::filesystem::remove(options.file);  // nothing was heard
  radio.failIfUseless();
  screen.print(std::to_string(capture.count()) + " frames in " + options.file);
}

}  // namespace host
