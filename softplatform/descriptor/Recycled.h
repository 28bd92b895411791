#pragma once

#include <memory>

namespace tvservice {

// An object that a thread makes and gives up again and again, with the memory that it holds: each
// thread keeps one that was given up for the next that is wanted.
template <class T>
class Recycled {
  public:
    // One that was given up, or a new one.
    static std::unique_ptr<T> Take() {
        std::unique_ptr<T> taken = s_isOver ? nullptr : std::move(Kept().object);
        return taken ? std::move(taken) : std::make_unique<T>();
    }

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

    // Objects of static life are given up after the thread's own are gone.
    static inline thread_local bool s_isOver = false;
};

}  // namespace tvservice
