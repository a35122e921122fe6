// SPDX-License-Identifier: Apache-2.0
#include "common/DiagnosticSink.h"

#include <condition_variable>
#include <iostream>
#include <memory>
#include <mutex>
#include <sstream>
#include <utility>

namespace orliq::lidar {
namespace {

struct Sink {
  DiagnosticSink function;
  int calls = 0;  // under way; guarded by Sinks::mutex
};

/// Every line may be the last of the process, so none of this is ever destroyed.
struct Sinks {
  std::mutex mutex;               // guards current and its calls; never held while a sink runs
  std::condition_variable ended;  // a call of a sink
  std::shared_ptr<Sink> current;  // null: the streams
  std::mutex line;                // held while one line is written to a stream
};

Sinks& AllSinks() {
  static Sinks& sinks = *new Sinks;
  return sinks;
}

thread_local bool in_sink = false;  // this thread is inside a call of a sink

/// One call of the current sink; none when there is none, or when this thread is in one already.
class Call {
 public:
  Call() {
    if (in_sink) return;
    const std::lock_guard<std::mutex> lock(AllSinks().mutex);
    sink_ = AllSinks().current;
    if (sink_) ++sink_->calls;
    in_sink = sink_ != nullptr;
  }
  ~Call() {
    if (!sink_) return;
    in_sink = false;
    const std::lock_guard<std::mutex> lock(AllSinks().mutex);
    --sink_->calls;
    // Who waits for the end of the calls destroys the sink. Where nobody does, this call is the last
    // to have it, and destroys it once the lock is released.
    if (sink_.use_count() > 1) sink_.reset();
    AllSinks().ended.notify_all();
  }
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  bool HasSink() const { return sink_ != nullptr; }

  /// False when the sink threw.
  bool Takes(const std::string& line, DiagnosticStream stream) const {
    try {
      sink_->function(line, stream);
      return true;
    } catch (...) {  // never the end of a driver's thread for a line of text
      return false;
    }
  }

 private:
  std::shared_ptr<Sink> sink_;
};

void WriteToStream(DiagnosticStream kind, const std::string& text) {
  const std::lock_guard<std::mutex> lock(AllSinks().line);
  std::ostream& stream = kind == DiagnosticStream::Error ? std::cerr : std::cout;
  stream.write(text.data(), static_cast<std::streamsize>(text.size()));
  stream.flush();
}

}  // namespace

void SetDiagnosticSink(DiagnosticSink sink) {
  Sinks& sinks = AllSinks();
  auto other = sink ? std::make_shared<Sink>(Sink{std::move(sink)}) : nullptr;
  std::unique_lock<std::mutex> lock(sinks.mutex);
  sinks.current.swap(other);
  if (!other) return;
  if (in_sink) {
    if (other.use_count() > 1) other.reset();  // its last call destroys it
  } else {
    sinks.ended.wait(lock, [&other] { return other->calls == 0; });
  }
  lock.unlock();  // what the application's function holds is destroyed without it
}

void WriteDiagnostic(DiagnosticStream stream, const std::string& lines) {
  const Call call;
  if (!call.HasSink()) return WriteToStream(stream, lines);
  std::istringstream text(lines);
  for (std::string line; std::getline(text, line);) {
    if (!call.Takes(line, stream)) WriteToStream(stream, line + '\n');
  }
}

}  // namespace orliq::lidar
