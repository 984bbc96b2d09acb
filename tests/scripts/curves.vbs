' Circles, arcs and ellipses as a script sees them: sizes set through the derived
' properties, the smallest sizes and ratios, and what an ellipse keeps when its radius changes.

On Error Resume Next  ' each refusal is checked where it happens

' A circle made by the script itself, in no drawing yet.
Dim circle : Set circle = CreateObject("NkAuto.Circle")
circle.Area = PI
Check Near(circle.Radius, 1), "an area of pi gives radius " & circle.Radius
Check Near(circle.Circumference, 2 * PI), "its circumference is " & circle.Circumference
circle.Diameter = 5
Check Near(circle.Radius, 2.5), "a diameter of 5 gives radius " & circle.Radius
circle.Radius = 1e-10
Check LastError() = INVALID_ARGUMENT, "radius 1e-10 was taken"
Check Near(circle.Radius, 2.5), "a refused radius changed it to " & circle.Radius
circle.Radius = 1.1e-10
Check LastError() = 0, "radius 1.1e-10 was refused"
circle.Area = 0
Check LastError() = INVALID_ARGUMENT, "area 0 was taken"
circle.Circumference = -1
Check LastError() = INVALID_ARGUMENT, "circumference -1 was taken"

' An arc and an ellipse from a drawing.
Dim doc : Set doc = CreateObject("NkAuto.Document")
doc.Open DATA_FOLDER & "curves.dxf"
Dim arc : Set arc = FirstOfType(doc.ModelSpace, "IVeltArc")
Dim ellipse : Set ellipse = FirstOfType(doc.ModelSpace, "IVeltEllipse")
Check Not (arc Is Nothing) And Not (ellipse Is Nothing), "the drawing's arc and ellipse were not found"

Check Near(arc.TotalAngle, PI / 2), "the arc spans " & arc.TotalAngle
Check Near(arc.ArcLength, PI), "the arc is " & arc.ArcLength & " long"
arc.Radius = 1e-10
Check LastError() = INVALID_ARGUMENT, "arc radius 1e-10 was taken"
arc.Radius = 4
Check Near(arc.ArcLength, 2 * PI), "a radius of 4 makes the arc " & arc.ArcLength & " long"

Check Near(ellipse.MajorRadius, 10) And Near(ellipse.RadiusRatio, 0.5), "the ellipse is not 10 by 5"
ellipse.MajorRadius = 20
Check Near(ellipse.RadiusRatio, 0.25), "a major radius of 20 gives ratio " & ellipse.RadiusRatio
Check Near(ellipse.MinorRadius, 5), "the minor radius became " & ellipse.MinorRadius
ellipse.RadiusRatio = 1.0
Check LastError() = 0, "ratio 1 was refused"
ellipse.RadiusRatio = 1e-6
Check LastError() = 0, "ratio 1e-6 was refused"
ellipse.RadiusRatio = 0
Check LastError() = INVALID_ARGUMENT, "ratio 0 was taken"
ellipse.RadiusRatio = 1.0000001
Check LastError() = INVALID_ARGUMENT, "ratio 1.0000001 was taken"
Check Near(ellipse.RadiusRatio, 1e-6), "refused ratios changed it to " & ellipse.RadiusRatio
ellipse.MinorRadius = 1e-10
Check LastError() = INVALID_ARGUMENT, "minor radius 1e-10 was taken"
ellipse.RadiusRatio = 0.5
' Below the minor radius the ratio would pass 1: the drawing refuses it, not the argument check.
ellipse.MajorRadius = 5
Dim below : below = LastError()
Check below <> 0 And below <> INVALID_ARGUMENT, "a major radius below the minor one answered " & below
Check Near(ellipse.MajorRadius, 20), "a refused major radius changed it to " & ellipse.MajorRadius

Report
