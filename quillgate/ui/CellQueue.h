#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "quillgate/ui/NibRegistry.h"

// The cells a table or collection view knows by reuse identifier: how to make one (a nib or a
// factory, the later registration replacing the earlier) and the ones set aside by a reload,
// handed out again before any new cell is made. Owned by its view; main thread only.
namespace quillgate::ui {

template <class Cell>
class CellQueue {
  public:
    using Factory = std::function<std::shared_ptr<Cell>()>;

    // Why a cell could not be made; the owning view words the fault as its platform class does.
    enum class Failure { none, nibIsNotACell, notRegistered };

    void registerNib(const std::string& nibName, const std::string& identifier) {
        factories_.erase(identifier);
        nibs_[identifier] = nibName;
    }

    void registerClass(const std::string& identifier, Factory factory) {
        nibs_.erase(identifier);
        if (factory) {
            factories_[identifier] = std::move(factory);
        }
    }

    bool isRegistered(const std::string& identifier) const {
        return nibs_.count(identifier) > 0 || factories_.count(identifier) > 0;
    }

    // A cell set aside under `identifier`, unselected and prepared for reuse, else a new one
    // from its registration carrying the identifier; null with the reason when neither works.
    std::pair<std::shared_ptr<Cell>, Failure> dequeue(const std::string& identifier) {
        auto& pool = pool_[identifier];
        if (!pool.empty()) {
            auto cell = pool.back();
            pool.pop_back();
            cell->setSelected(false);
            cell->setHighlighted(false);
            cell->prepareForReuse();
            return {cell, Failure::none};
        }
        std::shared_ptr<Cell> cell;
        if (auto nib = nibs_.find(identifier); nib != nibs_.end()) {
            cell = std::dynamic_pointer_cast<Cell>(
                NibRegistry::shared().instantiate(nib->second, nullptr));
            if (!cell) {
                return {nullptr, Failure::nibIsNotACell};
            }
        } else if (auto factory = factories_.find(identifier); factory != factories_.end()) {
            cell = factory->second();
        }
        if (!cell) {
            return {nullptr, Failure::notRegistered};
        }
        cell->setReuseIdentifier(identifier);
        return {cell, Failure::none};
    }

    // Takes a cell out of its view and keeps it for the next dequeue of its identifier.
    void setAside(const std::shared_ptr<Cell>& cell) {
        cell->removeFromSuperview();
        pool_[cell->reuseIdentifier()].push_back(cell);
    }

  private:
    std::map<std::string, std::string> nibs_;
    std::map<std::string, Factory> factories_;
    std::map<std::string, std::vector<std::shared_ptr<Cell>>> pool_;
};

}  // namespace quillgate::ui
