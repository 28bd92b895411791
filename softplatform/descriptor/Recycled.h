#pragma once

#include <memory>

namespace tvservice {

// Reuses objects that a thread makes and frees again and again, with the memory that they hold.
// Each thread keeps one freed object for the next Take.
template <class T>
class Recycled {
  public:
    // The object that this thread keeps, or a new one.
    static std::unique_ptr<T> Take() {
        std::unique_ptr<T> taken = s_isOver ? nullptr : std::move(Kept().object);
        return taken ? std::move(taken) : std::make_unique<T>();
    }

    // Keeps the object for the next Take; destroys it when this thread keeps one already.
    static void Give(std::unique_ptr<T> object) {
        if (!s_isOver && !Kept().object) {
            Kept().object = std::move(object);
        }
    }

  private:
    struct Slot {
        std::unique_ptr<T> object;
        ~Slot() { s_isOver = true; }
    };

    static Slot& Kept() {
        thread_local Slot slot;
        return slot;
    }

    // True once the thread's Slot is destroyed. Static objects are destroyed later and may still
    // call Give.
    static inline thread_local bool s_isOver = false;
};

}  // namespace tvservice
