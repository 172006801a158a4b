// Process-wide objects and the one list that deletes them at exit, most recently registered first.
#pragma once

namespace Orn {

class CGlobal {
public:
    CGlobal() = default;
    CGlobal(const CGlobal&) = delete;
    CGlobal& operator=(const CGlobal&) = delete;
    virtual ~CGlobal() = default;

private:
    CGlobal* mNextGlobal = nullptr;
    friend class CGlobalDeleteList;
};

class CGlobalDeleteList {
public:
    // Creates the one list head; a second one is an assertion.
    static void Create();
    // Links the object at the head; it is deleted by DeleteAll.
    static void Register(CGlobal* global);
    // Deletes every registered object exactly once, the most recent first, then drops the head.
    static void DeleteAll();
    static bool Exists();

private:
    CGlobal* mHead = nullptr;
};

} // namespace Orn
