// The directory cache against an independent model, over 320 directories of a location in memory:
// random opens, reads and closes, and changes with and without a notice.
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <memory>
#include <optional>
#include <random>

#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfadircache.h"
#include "coretools/ctpfa/pfadircache_internal.h"
#include "coretools/ctpfa/pfastream.h"
#include "tests/coretools/ctpfa/directory_test_util.h"
#include "tests/coretools/ctpfa/memory_location.h"

namespace {

// What the time is for the process, in seconds; 0 lets the system's clock run.
std::time_t test_clock = 0;

} // namespace

extern "C" std::time_t time(std::time_t *out) noexcept {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    const std::time_t answer = test_clock != 0 ? test_clock : now.tv_sec;
    if (out != nullptr) {
        *out = answer;
    }
    return answer;
}

namespace {

using names = std::set<std::string>;

struct cached_dir {
    std::string key;
    std::time_t used = 0;
    names seen;
    bool lent = true;
    bool stale = false;
};

struct reader {
    explicit reader(const std::string &path) : key(path), record(path) {}
    std::string key;
    scoped_record record;
    names left;
};

class pfadircache : public testing::Test {
  protected:
    memory_store &store = fresh_memory_store();
    std::mt19937 random{20240611};
    std::vector<std::string> keys;
    std::vector<std::optional<cached_dir>> slots{std::size_t(xar_count(&dir_cache))};
    std::vector<std::unique_ptr<reader>> readers;
    int hits = 0, out_of_date = 0, evictions = 0, own_listings = 0, refused = 0;

    void SetUp() override {
        test_clock = 1000;
        for (int i = 0; i < 320; ++i) {
            keys.push_back("mem:/" + std::to_string(i % 16) + "/" + std::to_string(i) + "/");
            store.files[keys.back() + "first"];
        }
    }

    void TearDown() override { test_clock = 0; }

    std::size_t below(std::size_t count) { return random() % count; }

    cached_dir *cached(const std::string &key) {
        const auto slot = std::find_if(slots.begin(), slots.end(), [&key](const auto &candidate) {
            return candidate && candidate->key == key;
        });
        return slot == slots.end() ? nullptr : &**slot;
    }

    void discard(const std::string &key) {
        for (auto &slot : slots) {
            if (slot && slot->key == key) {
                slot->lent ? void(slot->stale = true) : slot.reset();
            }
        }
    }

    // The first free entry, else a new one, but from 256 on the one unused for longest if any was
    // not used in this second.
    std::optional<cached_dir> &slot_for_new() {
        std::optional<cached_dir> *oldest = nullptr;
        for (auto &slot : slots) {
            if (!slot) {
                return slot;
            }
            if (!slot->lent && slot->used < (oldest ? (*oldest)->used : test_clock)) {
                oldest = &slot;
            }
        }
        if (slots.size() < 256 || oldest == nullptr) {
            return slots.emplace_back();
        }
        ++evictions;
        return *oldest;
    }

    void open(const std::string &key, bool refuse) {
        auto opened = std::make_unique<reader>(key);
        const names real = store.names_in(key);
        cached_dir *entry = cached(key);
        const bool lent = entry != nullptr && entry->lent;
        const bool good = entry != nullptr && !entry->stale && entry->seen == real;
        if (good) {
            entry->used = test_clock;
        } else if (entry != nullptr) {
            ++out_of_date;
            discard(key);
        }
        store.open_status = refuse ? PFA_E_NO_ACCESS : 0;
        ASSERT_EQ(pfa_open_dir(opened->record), store.open_status) << key;
        if (refuse) {
            ++refused;
            ASSERT_EQ(opened->record->flags, 0u);
            ASSERT_EQ(opened->record->location_handle, nullptr);
            return;
        }
        opened->left = real;
        if (lent) {
            ++own_listings;
        } else if (good) {
            ++hits;
            entry->lent = true;
        } else {
            slot_for_new() = cached_dir{key, test_clock, real};
        }
        ASSERT_EQ(opened->record->flags, PFA_F_OPEN | (lent ? 0u : PFA_F_BORROWED));
        readers.push_back(std::move(opened));
    }

    void read(reader &from, std::size_t count) {
        scoped_record entry;
        for (; count > 0; --count) {
            const int status = pfa_read_dir(from.record, entry);
            ASSERT_EQ(status, from.left.empty() ? PFA_E_QUIT : PFA_E_NO_ERROR);
            if (status == PFA_E_NO_ERROR) {
                ASSERT_EQ(from.left.erase(entry->text + entry->bounds[PFA_NAME].start), 1u);
                ASSERT_EQ(entry->type, -4);
                ASSERT_EQ(location_of(entry), from.key);
            }
        }
    }

    void close(std::size_t index) {
        const reader &closed = *readers[index];
        if ((closed.record->flags & PFA_F_BORROWED) != 0) {
            cached(closed.key)->lent = false;
            cached(closed.key)->used = test_clock;
        }
        ASSERT_EQ(pfa_close(closed.record), PFA_E_NO_ERROR);
        readers.erase(readers.begin() + static_cast<std::ptrdiff_t>(index));
    }

    // One of four files comes or goes.
    void change(const std::string &key, bool notice) {
        const std::string file = key + "file" + std::to_string(below(4));
        if (store.files.erase(file) == 0) {
            store.files[file];
        }
        if (notice) {
            pfa_file_name_update_dir_cache(file.c_str());
            discard(key);
        }
    }

    void check(const cached_dir &model, const dir_cache_entry &real) {
        ASSERT_EQ(real.name, model.key);
        ASSERT_EQ(real.time, model.used) << model.key;
        ASSERT_EQ(real.state, model.stale ? PFA_E_NOT_VALID : PFA_E_NO_ERROR) << model.key;
        ASSERT_EQ(real.record->flags, PFA_F_OPEN | (model.lent ? PFA_F_LENT : 0u)) << model.key;
    }

    void check() {
        ASSERT_EQ(static_cast<std::size_t>(xar_count(&dir_cache)), slots.size());
        int free = 0;
        for (std::size_t i = 0; i < slots.size() && !HasFatalFailure(); ++i) {
            if (slots[i]) {
                check(*slots[i], dir_cache[i]);
            } else {
                ASSERT_EQ(dir_cache[i].state, PFA_E_INACTIVE);
                ++free;
            }
        }
        ASSERT_EQ(num_inactive, free);
        const auto own = std::count_if(readers.begin(), readers.end(), [](const auto &one) {
            return (one->record->flags & PFA_F_BORROWED) == 0;
        });
        ASSERT_EQ(store.listings_kept, int(slots.size()) - free + own);
    }
};

TEST_F(pfadircache, AgreesWithAModelAfterEveryStep) {
    for (int round = 0; round < 2; ++round) { // fill the table and evict, then grow past its bound
        for (const std::string &key : keys) {
            test_clock += round == 0;
            open(key, false);
            close(0);
        }
    }
    for (int step = 0; step < 6000 && !HasFatalFailure(); ++step) {
        const std::string &key = keys[below(keys.size())];
        const std::size_t what = below(20);
        const std::size_t at = readers.empty() ? 0 : below(readers.size());
        if (what < 6 || readers.empty()) {
            open(key, what == 0);
        } else if (what < 9) {
            read(*readers[at], what == 8 ? 1000 : 3);
        } else if (what < 13 || readers.size() > 40) {
            close(at);
        } else if (what < 19) {
            change(key, what < 16);
        } else {
            ++test_clock;
        }
        check();
    }
    EXPECT_GT(std::min({hits, out_of_date, evictions, own_listings, refused}), 50);
}

} // namespace
