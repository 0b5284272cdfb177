#ifndef IPXACT_COMMON_COMMSGMGR_H
#define IPXACT_COMMON_COMMSGMGR_H

#include <functional>
#include <string>

#if defined(__GNUC__)
#define IPXACT_PRINTF_FORMAT(formatIndex, firstArgIndex) \
  __attribute__((format(printf, formatIndex, firstArgIndex)))
#else
#define IPXACT_PRINTF_FORMAT(formatIndex, firstArgIndex)
#endif

// The host's message manager. Messages are catalogue references: `format`
// starts with an identifier between two '@' (e.g. "@19-537@%s") so that a host
// can look up its own wording, while `text` carries the formatted fallback.
//
// The installed handler is process-wide and unguarded: the library is used by
// one thread at a time.
class ComMsgMgr {
public:
  using MsgMask = unsigned int;

  struct Message {
    int severity;
    std::string domain;
    MsgMask mask;
    std::string format;
    std::string text;
    const char* file;
    int line;
  };

  using Handler = std::function<void(const Message&)>;

  // Returns the handler that was in force; an empty handler restores the
  // default one, which writes "<domain>[<severity>]: <text>" to stderr.
  static Handler setHandler(Handler handler);

  // The call site a message names: the manager's own sending helper, on which hosts' message
  // filters key, rather than wherever in a library the message arose.
  static constexpr const char* kCallSiteFile = "ComMsgMgr.h";
  static constexpr int kCallSiteLine = 374;

  struct sendMsg {
    static void eval(int severity, const char* file, int line, const std::string& domain,
                     MsgMask mask, const char* format, ...) IPXACT_PRINTF_FORMAT(6, 7);
  };
};

#undef IPXACT_PRINTF_FORMAT

#endif
