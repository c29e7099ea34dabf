// What the library's messages of one failure come down to, in the words of the Java classes.
const REASONS = [
  [/Cannot determine the link to protect|Impossible to determine the primary path/,
    "its route must start at a node of the primary, before the primary's last node"],
  [/LSP refused by the predicate/,
    "a link that it concerns has not enough room, and nothing may give way for it"],
  [/Trying to add a node with a reserved ID/, "a node with this id is there already"],
  [/Trying to add a link with a reserved ID/, "a link with this id is there already"],
  [/Source or destination node doesn't exist/,
    "its source or its destination is no node; add the nodes first"],
  [/Unable to insert a new node in the general node container/,
    "there is a link between these nodes in this direction already"],
  [/Inexistent Link \(src = (\d+), dst = (\d+)\)/, "there is no link $1 > $2"],
  [/Link doesn't exist/, "there is no such link"],
  [/Trying to remove an inexistent node/, "there is no such node"],
  [/Not enough preemptable bandwidth/,
    "the LSPs of greater level on a link are together too small to make room for it"],
  [/^It (is|has|cannot|contradicts) (.*) in \S+ at line \d+$/, "it $1 $2"],
  [/Critical lack of memory|Unable to resize|Cannot allocate/,
    "there is not enough memory; smaller ids need less"],
];

/** The reason that the messages tell, or else the oldest of them, without where in the sources. */
export function reason(trace) {
  for (const [message, words] of REASONS) {
    const line = trace.find((one) => message.test(one));
    if (line !== undefined) return message.exec(line)[0].replace(message, words);
  }
  return trace.at(-1)?.replace(/ in \S+ at line \d+$/, "") ?? "the library gives no reason";
}
