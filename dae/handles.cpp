#include "dae/handles.h"

#include "dae/exceptions.h"

namespace DAE {

AEHandle::AEHandle(const PF_HandleSuite1* suite) : suite_(suite), handle_(nullptr), owned_(false), locked_(nullptr) {}

AEHandle::AEHandle(const PF_HandleSuite1* suite, PF_Handle existing)
    : suite_(suite), handle_(existing), owned_(false), locked_(nullptr) {}

AEHandle::~AEHandle() {
    if (!handle_) return;
    Unlock();
    if (owned_ && suite_) suite_->host_dispose_handle(handle_);
}

void AEHandle::Allocate(A_u_long size) {
    if (handle_) {
        Unlock();
        if (owned_ && suite_) suite_->host_dispose_handle(handle_);
        handle_ = nullptr;
    }
    PF_Handle h = suite_ ? suite_->host_new_handle(size) : nullptr;
    if (!h) throw DAEAllocXCP(size);
    handle_ = h;
}

void AEHandle::Lock() {
    if (!locked_ && handle_ && suite_) locked_ = suite_->host_lock_handle(handle_);
}

void* AEHandle::Get() {
    Lock();
    return locked_;
}

void AEHandle::Unlock() {
    if (locked_) {
        if (suite_) suite_->host_unlock_handle(handle_);
        locked_ = nullptr;
    }
}

PF_Err AEHandle::Resize(A_u_long size) {
    Unlock();
    if (!handle_ || !suite_) return PF_Err_BAD_CALLBACK_PARAM;
    return suite_->host_resize_handle(size, &handle_);
}

void AEHandle::Dispose() {
    if (!handle_) return;
    Unlock();
    if (suite_) suite_->host_dispose_handle(handle_);
    handle_ = nullptr;
}

PF_Handle AEHandle::Detach() {
    Unlock();
    PF_Handle h = handle_;
    handle_ = nullptr;
    return h;
}

}  // namespace DAE
