#include <ipxact/common/ComMsgMgr.h>

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace {

void writeLineToStderr(const ComMsgMgr::Message& message) {
  std::string text = message.text;
  while (!text.empty() && text.back() == '\n')
    text.pop_back();
  const std::string line =
      message.domain + "[" + std::to_string(message.severity) + "]: " + text + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fflush(stderr);
}

// Function-local so that messages sent during other libraries' static
// initialisation already find a handler.
ComMsgMgr::Handler& installedHandler() {
  static ComMsgMgr::Handler handler = writeLineToStderr;
  return handler;
}

std::string formatText(const char* format, va_list args) {
  va_list measuring;
  va_copy(measuring, args);
  const int length = std::vsnprintf(nullptr, 0, format, measuring);
  va_end(measuring);
  if (length <= 0)
    return std::string();
  std::vector<char> buffer(static_cast<std::size_t>(length) + 1);
  std::vsnprintf(buffer.data(), buffer.size(), format, args);
  return std::string(buffer.data(), static_cast<std::size_t>(length));
}

} // namespace

ComMsgMgr::Handler ComMsgMgr::setHandler(Handler handler) {
  Handler previous = installedHandler();
  installedHandler() = handler ? std::move(handler) : Handler(writeLineToStderr);
  return previous;
}

void ComMsgMgr::sendMsg::eval(int severity, const char* file, int line, const std::string& domain,
                              MsgMask mask, const char* format, ...) {
  Message message{severity, domain, mask, std::string(), std::string(), file, line};
  if (format) {
    message.format = format;
    va_list args;
    va_start(args, format);
    message.text = formatText(format, args);
    va_end(args);
  }
  installedHandler()(message);
}
