// The active contour.
#include "threads/call.h"

namespace ko::test {

Operations snakeOperations()
{
    return {
        {"SnakeImage",
         [](Call& c) {
             SxSnakeParams params;
             params.maxIterations = 20;
             const QList<_point_<int>> start{{4, 4}, {12, 4}, {12, 13}, {4, 13}};
             QList<_point_<int>> contour;
             c.status(SnakeImage(c.image(), params, start, contour));
             for (const _point_<int>& point : contour)
                 c.value(point.x), c.value(point.y);
         }},
    };
}

}  // namespace ko::test
