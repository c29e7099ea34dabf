package velmor.kavril;

import java.util.Locale;

/** What sessions count and time: the methods of {@link Session} that work on its network. */
public enum Operation {
    /** {@link Session#addNode}. */
    ADD_NODE,
    /** {@link Session#addLink}. */
    ADD_LINK,
    /** {@link Session#removeNode}. */
    REMOVE_NODE,
    /** {@link Session#removeLink}. */
    REMOVE_LINK,
    /** {@link Session#addLsp}. */
    ADD_LSP,
    /** {@link Session#addBackup}. */
    ADD_BACKUP,
    /** {@link Session#removeLsp}, {@link Session#removeLspAndBackups}. */
    REMOVE_LSP,
    /** {@link Session#request}. */
    REQUEST,
    /** {@link Session#protect}, {@link Session#protectPartly}. */
    PROTECT,
    /** Reading a part: {@code lsp}, {@code link}, {@code lspsOn}, {@code backupsOf}. */
    READ,
    /** Reading everything: {@code state}, {@code dump}. */
    READ_ALL,
    /** {@link Session#setCapacity}. */
    SET_CAPACITY,
    /** {@link Session#fail}, {@link Session#failLink}, {@link Session#failNode}. */
    FAIL,
    /** {@link Session#repair}. */
    REPAIR,
    /** {@link Session#update}, {@link Session#reroute}, {@link Session#rerouteAround}. */
    UPDATE,
    /** {@link Session#place}; in {@link Session#placeAll} each request, or a dry run as a whole. */
    PLACE,
    /** {@link Session#copy}. */
    COPY,
    /** {@link Session#save}. */
    SAVE;

    @Override
    public String toString() {
        return name().toLowerCase(Locale.ROOT).replace('_', ' ');
    }
}
