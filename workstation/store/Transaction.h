// Changes to a database that happen together or not at all.
#pragma once

namespace workstation::store {

class Database;

// Rolled back by the destructor unless committed. Takes the write lock at once, so that what is
// read inside still holds when it is written. Statements made inside must have ended before Commit.
class Transaction {
public:
    explicit Transaction(Database& database);
    ~Transaction();

    Transaction(Transaction const&) = delete;
    Transaction& operator=(Transaction const&) = delete;

    void Commit();

private:
    Database& database_;
};

} // namespace workstation::store
