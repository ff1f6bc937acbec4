// A small traced program: it "loads" a configuration and "sends" two
// records, tracing its functions, a message with a number, a text and a
// block of bytes under the trace key "tracedemo".
//
// Tracing is off unless the key's variables switch it on:
//
//   export TRACEDEMO_TRACE_ACTIVE=yes TRACEDEMO_TRACE_DETAIL=HIGH
//   TRACEDEMO_TRACE_FILE=/tmp/demo.trc ./kiv_trace_demo
//   kivtrace -key tracedemo -file /tmp/demo.trc -display -fnest
//
// When tracing is off every trace point costs one test of a pointer.
#include <kiv_trace.hpp>

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

// The program's components, shown by the formatter's %c and selectable
// with kivtrace -fcompids.
constexpr unsigned short gs_usConfig = 1;
constexpr unsigned short gs_usNetwork = 2;

// Traces the entry of a function on construction and its exit when the
// scope ends.
class FunctionTrace {
 public:
  FunctionTrace(unsigned short component, const char* function)
      : m_usComponent(component), m_pszFunction(function) {
    if (kivTraceIsEnabled()) {
      kivTraceDump(KIV_TRACE_DETAIL_LOW, m_usComponent, KIV_TRACE_TYPE_FUNCTION_ENTRY,
                   m_pszFunction, nullptr, nullptr, 0);
    }
  }
  ~FunctionTrace() {
    if (kivTraceIsEnabled()) {
      kivTraceDump(KIV_TRACE_DETAIL_LOW, m_usComponent, KIV_TRACE_TYPE_FUNCTION_EXIT, m_pszFunction,
                   nullptr, nullptr, 0);
    }
  }
  FunctionTrace(const FunctionTrace&) = delete;
  FunctionTrace& operator=(const FunctionTrace&) = delete;

 private:
  unsigned short m_usComponent;
  const char* m_pszFunction;
};

int loadConfiguration(const char* name) {
  FunctionTrace trace(gs_usConfig, "loadConfiguration");
  if (kivTraceIsEnabled()) {
    kivTraceDump(KIV_TRACE_DETAIL_MED, gs_usConfig, KIV_TRACE_TYPE_CSTRING, "loadConfiguration",
                 "reading", name, std::strlen(name));
  }
  const std::int32_t port = 9443;
  if (kivTraceIsEnabled()) {
    kivTraceDump(KIV_TRACE_DETAIL_MED, gs_usConfig, KIV_TRACE_TYPE_INT32, "loadConfiguration",
                 "port", &port, sizeof port);
  }
  return port;
}

void sendRecord(const char* record) {
  FunctionTrace trace(gs_usNetwork, "sendRecord");
  if (kivTraceIsEnabled()) {
    kivTraceDump(KIV_TRACE_DETAIL_HIGH, gs_usNetwork, KIV_TRACE_TYPE_DATA, "sendRecord",
                 "bytes out", record, std::strlen(record));
  }
}

}  // namespace

int main() {
  // The key's variables decide whether anything is recorded.
  kivTraceCreateInstance("tracedemo", nullptr);
  {
    FunctionTrace trace(0, "main");
    const int port = loadConfiguration("server.ini");
    std::printf("trace demo: configured port %d, sending two records\n", port);
    sendRecord("HELLO 1.0 client=demo");
    sendRecord("DATA id=42 payload=\x01\x02\x03");
  }
  // Deleting the instance flushes the buffer to the trace file.
  kivTraceDeleteInstance();
  return 0;
}
