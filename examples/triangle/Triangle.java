import java.util.List;
import velmor.kavril.Backup;
import velmor.kavril.Placement;
import velmor.kavril.Protection;
import velmor.kavril.RequestOption;
import velmor.kavril.Session;
import velmor.kavril.Traffic;

/** Three nodes, one LSP and its backup. */
public class Triangle {
    public static void main(String[] args) {
        try (Session session = Session.builder().classes(1).build()) {
            for (int node = 0; node < 3; node++) {
                session.addNode(node);
            }
            for (int src = 0, id = 0; src < 3; src++) {
                for (int dst = 0; dst < 3; dst++) {
                    if (src != dst) {
                        session.addLink(id++, src, dst, 100);
                    }
                }
            }
            Traffic traffic = Traffic.of(40).inClass(0).atLevel(3);
            Placement placed = session.request(7, 0, 2, traffic, RequestOption.ADD);
            List<Backup> backups = session.protect(7, Protection.local().placedAs(8));
            System.out.println(placed.route() + " protected by " + backups.get(0).route());
        }
    }
}
