// Values in the payload of a message, with their encodings.
#pragma once

#include <string>
#include <utility>

// Base of every value that can be encoded into a message and decoded from one.
//
// A number is a 32-bit big-endian word, a bool one byte, a string a word with its length and then
// its bytes.
class Item {
public:
    virtual ~Item() = default;

    // Writes Size() bytes at `out` and returns the pointer past them.
    virtual unsigned char* Encode(unsigned char* out) = 0;

    // Reads the value at `in` and returns the pointer past it. `in` must point into the message
    // that is being handled (LinxIpc::CurrentMessage). Bytes outside that message are never read:
    // when the value would end after it, the item becomes zero or empty and the end of the message
    // is returned.
    virtual unsigned char* Decode(unsigned char* in) = 0;

    // Encoded size in bytes.
    virtual unsigned int Size() = 0;

protected:
    Item() = default;
    Item(Item const&) = default;
    Item& operator=(Item const&) = default;
};

class UIntItem : public Item {
public:
    UIntItem() = default;
    explicit UIntItem(unsigned int value)
        : value_(value) {}

    unsigned int Value() const { return value_; }
    void Value(unsigned int value) { value_ = value; }

    unsigned char* Encode(unsigned char* out) override;
    unsigned char* Decode(unsigned char* in) override;
    unsigned int Size() override;

private:
    unsigned int value_ = 0;
};

class IntItem : public Item {
public:
    IntItem() = default;
    explicit IntItem(int value)
        : value_(value) {}

    int Value() const { return value_; }
    void Value(int value) { value_ = value; }

    unsigned char* Encode(unsigned char* out) override;
    unsigned char* Decode(unsigned char* in) override;
    unsigned int Size() override;

private:
    int value_ = 0;
};

class BoolItem : public Item {
public:
    BoolItem() = default;
    explicit BoolItem(bool value)
        : value_(value) {}

    bool Value() const { return value_; }
    void Value(bool value) { value_ = value; }

    unsigned char* Encode(unsigned char* out) override;
    unsigned char* Decode(unsigned char* in) override;
    unsigned int Size() override;

private:
    bool value_ = false;
};

class StringItem : public Item {
public:
    StringItem() = default;
    explicit StringItem(std::string value)
        : value_(std::move(value)) {}

    std::string const& Value() const { return value_; }
    void Value(std::string const& value) { value_ = value; }

    unsigned char* Encode(unsigned char* out) override;
    unsigned char* Decode(unsigned char* in) override;
    unsigned int Size() override;

private:
    std::string value_;
};
