// Runs effect framework code against a headless host without the entry
// point: a Host, a suite handler over its basic suite and the command scope
// that makes both current, exactly as the entry point does for one command.
#pragma once
#include "dae/context.h"
#include "dae/suites.h"
#include "headless/host.h"

#include <memory>

namespace headless {

class ScopedHostContext {
public:
    // Owns a fresh Host.
    ScopedHostContext();
    // Borrows `host`, which must outlive this object.
    explicit ScopedHostContext(Host& host);
    // Ends the scope, then releases the handler's suites, then (if owned)
    // destroys the host: the order the entry point tears a command down in.
    ~ScopedHostContext();
    ScopedHostContext(const ScopedHostContext&) = delete;
    ScopedHostContext& operator=(const ScopedHostContext&) = delete;

    Host& host() { return *host_; }
    PF_InData& in_data() { return host_->in_data(); }
    PF_OutData& out_data() { return host_->out_data(); }
    DAE::AEGP_SuiteHandler& suites() { return *handler_; }

    // Releases the suites acquired so far and starts a fresh handler and
    // scope, as between two host commands.
    void next_command();

private:
    void open();
    void close();

    std::unique_ptr<Host> owned_;
    Host* host_;
    std::unique_ptr<DAE::AEGP_SuiteHandler> handler_;
    std::unique_ptr<DAE::CommandScope> scope_;
};

}  // namespace headless
