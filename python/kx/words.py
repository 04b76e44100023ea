"""The words that commands take and give."""
from typing import Literal

ArmFrame = Literal["world", "base", "tool"]
Axis = Literal["x", "y", "z"]
BaseMode = Literal["standing", "driving", "on_the_way", "charging"]
Connection = Literal["closed", "down", "connecting", "ready"]
Direction = Literal["negative", "positive"]
DragAxes = Literal["all", "position", "orientation"]
ForceAxis = Literal["x", "y", "z", "about_x", "about_y", "about_z"]
ForceFrame = Literal["base", "flange"]
ModbusPort = Literal["controller", "flange"]
MotionKind = Literal["none", "joint", "line", "circle"]
Posture = Literal["open", "fist", "pinch", "point", "thumb_up"]
Sensor = Literal["one_axis", "six_axis"]
