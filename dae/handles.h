// Host memory handles ("PF Handle Suite") for data that outlives one host
// call. AEHandle locks lazily; AEHandleT<T> gives typed access; Handle_Array
// keeps a counted array of pointers in one handle.
#pragma once
#include <cstddef>

#include "dae/exceptions.h"
#include "hostapi/host_api.h"

namespace DAE {

class AEHandle {
public:
    // No handle yet, not owned, unlocked.
    explicit AEHandle(const PF_HandleSuite1* suite);
    // Wraps an existing handle without owning it.
    AEHandle(const PF_HandleSuite1* suite, PF_Handle existing);
    // Unlocks a held handle; disposes it only when owned.
    virtual ~AEHandle();
    AEHandle(const AEHandle&) = delete;
    AEHandle& operator=(const AEHandle&) = delete;

    // A new handle of size bytes; null from the host throws DAEAllocXCP(size).
    // Ownership is not changed: a handle meant to outlive this object (kept
    // in host data) stays unowned unless SetOwned(true) is called. A handle
    // held before is let go first (disposed if it was owned).
    void Allocate(A_u_long size);
    // Lock once and keep the address; Get locks on demand.
    void Lock();
    void* Get();
    void Unlock();
    // Unlocks, then asks the host to resize; the host's answer is returned.
    PF_Err Resize(A_u_long size);
    // Disposes a held handle (owned or not) and forgets it.
    void Dispose();

    PF_Handle Handle() const { return handle_; }
    const PF_HandleSuite1* Suite() const { return suite_; }
    bool Owned() const { return owned_; }
    void SetOwned(bool owned) { owned_ = owned; }
    bool IsLocked() const { return locked_ != nullptr; }
    // Unlocks and gives up the handle without disposing it.
    PF_Handle Detach();

protected:
    const PF_HandleSuite1* suite_;
    PF_Handle handle_;
    bool owned_;
    void* locked_;
};

// Typed view of a handle's contents. The four accessors are the same
// operation under the names callers find natural; each locks on demand.
template <typename T>
class AEHandleT : public AEHandle {
public:
    explicit AEHandleT(const PF_HandleSuite1* suite) : AEHandle(suite) {}
    AEHandleT(const PF_HandleSuite1* suite, PF_Handle existing) : AEHandle(suite, existing) {}
    ~AEHandleT() override = default;

    virtual T* Contents() { return static_cast<T*>(Get()); }
    virtual T* operator->() { return static_cast<T*>(Get()); }
    virtual operator T*() { return static_cast<T*>(Get()); }
    virtual T* Ptr() { return static_cast<T*>(Get()); }
};

// A counted array of 8-byte pointers in one handle: a 32-bit count at offset
// 0, elements from offset 8. The handle for n elements is n*8 + 4 bytes
// (Allocate: capacity*8 + 4; Push: count*8 + 12); that size formula is kept
// as it has always been even though the last element ends 4 bytes further.
template <typename P>
class Handle_Array {
public:
    static_assert(sizeof(P) == 8, "elements are 8 bytes");

    struct tData {
        A_u_long count;
        A_u_long unused;
        P elements[1];
    };

    static_assert(offsetof(tData, elements) == 8, "elements start at offset 8");

    explicit Handle_Array(const PF_HandleSuite1* suite) : handle_(suite) {}
    Handle_Array(const PF_HandleSuite1* suite, PF_Handle existing) : handle_(suite, existing) {}

    // capacity*8 + 4 bytes, count 0; throws DAEAllocXCP when the host says no.
    void Allocate(A_u_long capacity) {
        handle_.Allocate(capacity * 8 + 4);
        handle_->count = 0;
    }
    A_u_long Count() { return handle_->count; }
    // Address of element index (offset 8 + index*8); no bounds check.
    P* At(A_u_long index) { return Slot(handle_.Contents(), index); }
    // Grows the handle to count*8 + 12 bytes and appends. A refused resize
    // throws DAEAllocXCP instead of writing past the old end.
    void Push(P value);

    AEHandleT<tData>& Handle() { return handle_; }

private:
    static P* Slot(tData* data, A_u_long index) {
        return reinterpret_cast<P*>(reinterpret_cast<char*>(data) + offsetof(tData, elements) + index * sizeof(P));
    }

    AEHandleT<tData> handle_;
};

template <typename P>
void Handle_Array<P>::Push(P value) {
    const A_u_long count = handle_->count;
    // The last element reaches 4 bytes past the handle's end, where a host
    // that copies only the handle's bytes on resize would cut it: carry it
    // over by hand.
    P last{};
    if (count > 0) last = *Slot(handle_.Contents(), count - 1);
    const A_u_long size = count * 8 + 12;
    if (handle_.Resize(size) != PF_Err_NONE) throw DAEAllocXCP(size);
    tData* data = handle_.Contents();
    if (!data) throw DAEAllocXCP(size);
    if (count > 0) *Slot(data, count - 1) = last;
    *Slot(data, count) = value;
    data->count = count + 1;
}

}  // namespace DAE
