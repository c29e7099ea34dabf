package velmor.kavril;

import java.util.List;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** Says in a user's words what the library's messages of one failure come down to. */
enum Reason {
    NOT_ON_PRIMARY("Cannot determine the link to protect|Impossible to determine the primary path",
            "its route must start at a node of the primary, before the primary's last node"),
    LSP_REFUSED("LSP refused by the predicate",
            "a link that it concerns has not enough room, and nothing may give way for it"),
    NODE_TAKEN("Trying to add a node with a reserved ID", "a node with this id is there already"),
    LINK_TAKEN("Trying to add a link with a reserved ID", "a link with this id is there already"),
    ENDS_MISSING("Source or destination node doesn't exist",
            "its source or its destination is no node; add the nodes first"),
    PAIR_TAKEN("Unable to insert a new node in the general node container",
            "there is a link between these nodes in this direction already"),
    LINK_MISSING("Inexistent Link \\(src = (\\d+), dst = (\\d+)\\)", "there is no link $1 > $2"),
    NO_SUCH_LINK("Link doesn't exist", "there is no such link"),
    NO_SUCH_NODE("Trying to remove an inexistent node", "there is no such node"),
    NOT_ENOUGH("Not enough preemptable bandwidth",
            "the LSPs of greater level on a link are together too small to make room for it"),
    SESSIONS("Too many Sessions \\((\\d+)\\)",
            "$1 sessions are open in this process, the most there can be; close those not needed"),
    FILE("^It (is|has|cannot|contradicts) (.*) in \\S+ at line \\d+$", "it $1 $2"),
    FOLDER("^(No|The) (file|folder) (.*) in \\S+ at line \\d+$", "$1 $2 $3"),
    MEMORY("Critical lack of memory|Unable to resize|Cannot allocate",
            "there is not enough memory; smaller ids need less");

    private final Pattern message;
    private final String text;

    Reason(String message, String text) {
        this.message = Pattern.compile(message);
        this.text = text;
    }

    /** The reason that the messages tell, or else the oldest of them, or else the default. */
    static String of(List<String> trace, String otherwise) {
        for (Reason reason : values()) {
            for (String line : trace) {
                Matcher matcher = reason.message.matcher(line);
                if (matcher.find()) {
                    return matcher.group().replaceFirst(reason.message.pattern(), reason.text);
                }
            }
        }
        return trace.isEmpty() ? otherwise : trace.get(trace.size() - 1);
    }
}
