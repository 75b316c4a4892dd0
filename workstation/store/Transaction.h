// A database transaction.
#pragma once

namespace workstation::store {

class Database;

// The destructor rolls back a transaction that was not committed. Takes the write lock at the
// start: what was read inside is still valid when it is written. Statements must have ended before
// Commit. The constructor and Commit throw a Failure.
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
