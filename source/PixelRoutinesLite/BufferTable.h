// Calling through the buffer routine table from inside the library.
//
// Every slot starts out holding UninitializedFunctionPointer, which takes no
// arguments; the slots have other function types, so calling one that was
// never selected would go through a mismatched pointer. The helpers here
// recognise that marker (and a null a host may have written) and skip the
// call instead, which is what the no-op would have done.
#ifndef FLOWER_SOURCE_BUFFERTABLE_H
#define FLOWER_SOURCE_BUFFERTABLE_H

#include "PixelRoutinesLite.h"

namespace BufferTable {

// The marker as a value of the slot's own type, the same conversion the
// table's initialisers use, so the comparison is between like pointers.
template <class F> F Unselected()
{
    return reinterpret_cast<F>(&UninitializedFunctionPointer);
}

template <class F> bool IsSelected(F slot)
{
    return slot != nullptr && slot != Unselected<F>();
}

// Calls `slot` with `args` unless it is unselected; discards any result.
template <class F, class... A> void CallSlot(F slot, A... args)
{
    if (IsSelected(slot))
        slot(args...);
}

// Calls `slot` and returns its result, or `unselectedResult` when the slot is
// unselected.
template <class F, class... A> int CallSlotResult(int unselectedResult, F slot, A... args)
{
    if (!IsSelected(slot))
        return unselectedResult;
    return slot(args...);
}

// The frame of every buffer operation: PreOp, `body(state)`, PostOp, with one
// state shared by the hooks.
template <class Body> void BetweenOpHooks(Body body)
{
    tagMMXState state{};
    CallSlot(PreOp, &state);
    body(state);
    CallSlot(PostOp, &state);
}

} // namespace BufferTable

#endif
