// The directory cache against an independent model, over a real tree of some 320 directories:
// random opens, reads, closes, creations, removals and renames, with and without a notice.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <sys/stat.h>

#include "coretools/ctdci/dci.h"
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfadircache_internal.h"
#include "coretools/ctpfa/pfastream.h"
#include "tests/coretools/ctpfa/directory_test_util.h"

namespace {

struct real_dir {
    std::set<std::string> names;
    std::time_t mtime = 0;
    bool fresh = true; // read after it changed, as a listing must be to be used again
};

struct cached_dir {
    std::string key;
    std::time_t used = 0;
    bool stale = false;
    real_dir seen;
    bool lent = false;
};

struct reader {
    explicit reader(const std::string &path) : key(path), record(path) {}
    std::string key;
    scoped_record record;
    std::set<std::string> left;
};

class pfadircache : public testing::Test {
  protected:
    scratch_tree tree;
    std::mt19937 random{20240611};
    std::map<std::string, real_dir> dirs;
    std::vector<std::string> ever; // all directories there have been
    std::vector<std::optional<cached_dir>> slots;
    std::vector<std::unique_ptr<reader>> readers;
    std::time_t tick = 0;
    int serial = 0, hits = 0, out_of_date = 0, evictions = 0, own_listings = 0;

    void SetUp() override {
        test_clock = std::time(nullptr);
        tick = test_clock + 1000000; // days ahead, where no mount option lets a read change times
        slots.resize(static_cast<std::size_t>(xar_count(&dir_cache)));
        for (std::size_t i = 0; i < slots.size(); ++i) { // what other tests have left
            pfa_full_dir_name_update_cache(dir_cache[i].name);
        }
        dirs[tree.path];
        for (int i = 0; i < 320; ++i) {
            make_dir(i < 16 ? tree.path : ever[i % 16]);
        }
    }

    void TearDown() override { test_clock = 0; }

    std::size_t below(std::size_t count) { return random() % count; }
    std::string new_name() { return "n" + std::to_string(++serial); }

    cached_dir *cached(const std::string &key) {
        for (auto &slot : slots) {
            if (slot && slot->key == key) {
                return &*slot;
            }
        }
        return nullptr;
    }

    void changed(const std::string &path, bool fresh = true) {
        const timespec times[2] = {{++tick + fresh, 0}, {tick, 0}};
        ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
        dirs[path].mtime = tick;
        dirs[path].fresh = fresh;
    }

    void discard(const std::string &key) {
        for (auto &slot : slots) {
            if (slot && slot->key == key) {
                slot->lent ? void(slot->stale = true) : slot.reset();
            }
        }
    }

    void make_dir(const std::string parent) {
        const std::string name = new_name();
        ASSERT_EQ(dci_mkdir((parent + name).c_str(), 0777), 0);
        dirs[parent].names.insert(name);
        ever.push_back(parent + name + "/");
        changed(ever.back());
        changed(parent);
        discard(parent);
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

    void open(const std::string &key) {
        auto opened = std::make_unique<reader>(key);
        const auto real = dirs.find(key);
        cached_dir *entry = cached(key);
        const bool lent = entry != nullptr && entry->lent;
        const bool good = entry != nullptr && !entry->stale && entry->seen.fresh &&
                          real != dirs.end() && entry->seen.mtime == real->second.mtime;
        if (entry != nullptr && !good) {
            ++out_of_date;
            discard(key);
        }
        const int status = pfa_open_dir(opened->record);
        ASSERT_EQ(status, real == dirs.end() ? PFA_E_CANT_OPEN : PFA_E_NO_ERROR) << key;
        if (good) {
            entry->used = test_clock;
        }
        if (status != PFA_E_NO_ERROR) {
            ASSERT_EQ(opened->record->flags, 0u);
            return;
        }
        if (lent) {
            ++own_listings;
        } else if (good) {
            ++hits;
            entry->lent = true;
        } else {
            slot_for_new() = cached_dir{key, test_clock, false, real->second, true};
        }
        opened->left = good && !lent ? entry->seen.names : real->second.names;
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

    // Makes a file or directory (one kind without a notice), or removes or renames one.
    void change(const std::string &parent, const std::string &other, std::size_t what) {
        const std::string made = new_name();
        if (what == 0) {
            make_dir(parent);
        } else if (what < 3) {
            if (what == 1) {
                write_text(parent + made, "");
            } else {
                scoped_record record(parent + made);
                ASSERT_EQ(pfa_fopen(record, 0, binary_mode("w")), PFA_E_NO_ERROR);
                discard(parent);
            }
            dirs[parent].names.insert(made);
            changed(parent);
        } else if (!dirs[parent].names.empty()) {
            const auto name = std::next(dirs[parent].names.begin(),
                                        static_cast<int>(below(dirs[parent].names.size())));
            const std::string path = parent + *name;
            const auto as_dir = dirs.find(path + "/");
            if (other == path + "/" || (as_dir != dirs.end() && !as_dir->second.names.empty())) {
                return;
            }
            dirs[parent].names.erase(name);
            if (what == 3) {
                ASSERT_EQ((as_dir == dirs.end() ? dci_unlink : dci_rmdir)(path.c_str()), 0);
            } else {
                ASSERT_EQ(dci_rename(path.c_str(), (other + made).c_str()), 0);
                dirs[other].names.insert(made);
                if (as_dir != dirs.end()) {
                    ever.push_back(other + made + "/");
                    dirs[ever.back()] = as_dir->second;
                }
                changed(other);
                discard(other);
            }
            dirs.erase(path + "/");
            changed(parent);
            discard(parent);
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
    }
};

std::ptrdiff_t open_descriptors() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::distance(begin(descriptors), end(descriptors));
}

TEST_F(pfadircache, AgreesWithAModelAfterEveryStep) {
    const std::ptrdiff_t descriptors = open_descriptors();
    for (int round = 0; round < 2; ++round) { // fill the table and evict, then grow past its bound
        for (const std::string &path : ever) {
            test_clock += round == 0;
            open(path);
            close(0);
        }
    }
    for (int step = 0; step < 6000 && !HasFatalFailure(); ++step) {
        const std::string &one =
            std::next(dirs.begin(), static_cast<int>(below(dirs.size())))->first;
        const std::size_t what = below(20);
        const std::size_t at = readers.empty() ? 0 : below(readers.size());
        if (what < 6 || readers.empty()) {
            open(ever[below(ever.size())]);
        } else if (what < 9) {
            read(*readers[at], what == 8 ? 1000 : 3);
        } else if (what < 13 || readers.size() > 40) {
            close(at);
        } else if (what < 18) {
            const std::string parent = one;
            const auto other = std::next(dirs.begin(), static_cast<int>(below(dirs.size())));
            change(parent, std::string(other->first), what - 13);
        } else {
            test_clock += what == 19;
            changed(std::string(one), false);
        }
        check();
        ASSERT_EQ(open_descriptors(), descriptors);
    }
    EXPECT_GT(std::min({hits, out_of_date, evictions, own_listings}), 50);
}

} // namespace
