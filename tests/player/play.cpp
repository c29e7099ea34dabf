#include "player/play.h"

#include "common/memory.h"

std::string playInput(const Input& input, Rules rules,
                      const std::function<void(const Player&)>& look) {
    const Long before = allocatedMemory;
    twin::now.patience = 5000;
    std::string wrong;
    {
        Player player(input, rules);
        try {
            player.play();
        } catch (const Difference& difference) {
            wrong = difference.what();
        }
        look(player);
    }
    if (wrong.empty() && !rules.besideOthers && allocatedMemory != before)
        wrong = "memory is left after the kill";
    return wrong;
}
