// Delayed work that runs only when the test moves time on; each piece can be cancelled.
#pragma once

#include <QList>
#include <algorithm>
#include <functional>
#include <memory>

class FakeScheduler {
public:
    struct Item {
        double due = 0.0;
        std::function<void()> work;
        std::shared_ptr<bool> cancelled;
    };

    double now = 0.0;
    QList<Item> pending;

    // Returns the cancellation of this piece of work.
    std::function<void()> schedule(double seconds, std::function<void()> work)
    {
        auto cancelled = std::make_shared<bool>(false);
        pending.append(Item{now + seconds, std::move(work), cancelled});
        return [cancelled] { *cancelled = true; };
    }

    auto scheduler()
    {
        return [this](double seconds, std::function<void()> work) { return schedule(seconds, std::move(work)); };
    }

    // The delays of the work still waiting, from now.
    QList<double> waiting() const
    {
        QList<double> delays;
        for (const Item& item : pending) {
            if (!*item.cancelled)
                delays.append(item.due - now);
        }
        return delays;
    }

    // Runs everything due within `seconds`, in order of its time, including work scheduled meanwhile.
    void advance(double seconds)
    {
        const double end = now + seconds;
        while (true) {
            pending.removeIf([](const Item& item) { return *item.cancelled; });
            auto next = std::min_element(pending.begin(), pending.end(),
                                         [](const Item& a, const Item& b) { return a.due < b.due; });
            if (next == pending.end() || next->due > end + 1e-9)
                break;
            Item item = *next;
            pending.erase(next);
            now = std::max(now, item.due);
            item.work();
        }
        now = end;
    }
};
