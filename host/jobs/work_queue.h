#ifndef VELKOR_HOST_JOBS_WORK_QUEUE_H
#define VELKOR_HOST_JOBS_WORK_QUEUE_H

/// The host's writes, one-shot reads and recipes in the order in which they were handed over. The
/// first one is in hand; the others wait.

#include "host/jobs/recipe_work.h"
#include "host/jobs/transfer.h"

#include <deque>
#include <variant>

namespace velkor_host {

typedef std::variant<WriteTransfer, ReadTransfer, RecipeWork> Job;

class WorkQueue {
public:
    bool isEmpty() const { return m_jobs.empty(); }
    int size() const { return static_cast<int>(m_jobs.size()); }
    void append(Job job) { m_jobs.push_back(std::move(job)); }

    /// The job in hand as the kind that is asked for; null when it is another.
    template <typename Kind> Kind* first() {
        return m_jobs.empty() ? nullptr : std::get_if<Kind>(&m_jobs.front());
    }
    Job takeFirst() {
        Job job = std::move(m_jobs.front());
        m_jobs.pop_front();
        return job;
    }
    /// Takes out a write or read of which nothing has been sent. Nothing when there is none.
    std::optional<Job> takeUnsentTransfer(quint64 id, bool firstIsInHand) {
        for (std::size_t index = firstIsInHand ? 1 : 0; index < m_jobs.size(); ++index) {
            const bool unsent = std::visit(
                [id](const auto& job) {
                    if constexpr (std::is_same_v<std::decay_t<decltype(job)>, RecipeWork>) {
                        return false;
                    } else {
                        return job.outcome().id == id && !job.begun();
                    }
                },
                m_jobs[index]);
            if (unsent) {
                Job taken = std::move(m_jobs[index]);
                m_jobs.erase(m_jobs.begin() + static_cast<std::ptrdiff_t>(index));
                return taken;
            }
        }
        return std::nullopt;
    }
    /// Takes out a recipe that waits (not the one in hand). Nothing when there is none.
    std::optional<RecipeWork> takeWaitingRecipe(quint64 id) {
        for (std::size_t index = 1; index < m_jobs.size(); ++index) {
            RecipeWork* recipe = std::get_if<RecipeWork>(&m_jobs[index]);
            if (recipe != nullptr && recipe->id() == id) {
                RecipeWork taken = std::move(*recipe);
                m_jobs.erase(m_jobs.begin() + static_cast<std::ptrdiff_t>(index));
                return taken;
            }
        }
        return std::nullopt;
    }
    const std::deque<Job>& jobs() const { return m_jobs; }

private:
    std::deque<Job> m_jobs;
};

} // namespace velkor_host

#endif
