#include "headless/inproc/scoped_host.h"

namespace headless {

ScopedHostContext::ScopedHostContext() : owned_(std::make_unique<Host>()), host_(owned_.get()) { open(); }

ScopedHostContext::ScopedHostContext(Host& host) : host_(&host) { open(); }

ScopedHostContext::~ScopedHostContext() { close(); }

void ScopedHostContext::open() {
    handler_ = std::make_unique<DAE::AEGP_SuiteHandler>(host_->basic());
    scope_ = std::make_unique<DAE::CommandScope>(&host_->in_data(), handler_.get());
}

void ScopedHostContext::close() {
    scope_.reset();
    handler_.reset();
}

void ScopedHostContext::next_command() {
    close();
    open();
}

}  // namespace headless
