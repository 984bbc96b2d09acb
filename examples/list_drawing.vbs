' A late-bound client: opens a drawing and lists what its model space holds, each object
' with its kind, handle, layer and a property of its own kind, and the values of an attributed
' block (the title block) read back with GetAttributes.
'   cscript //nologo list_drawing.vbs C:\path\plan.dxf
Option Explicit

If WScript.Arguments.Count < 1 Then
    WScript.Echo "usage: list_drawing.vbs drawing.dxf"
    WScript.Quit 2
End If

Dim doc : Set doc = CreateObject("NkAuto.Document")
doc.Open WScript.Arguments(0)
WScript.Echo doc.Name & ": " & doc.ModelSpace.Count & " objects in model space"

' The property that tells most about an object of each kind.
Function Detail(item)
    Select Case item.ObjectName
        Case "KxDbLine":    Detail = "length " & item.Length
        Case "KxDbArc":     Detail = "radius " & item.Radius & ", arc length " & item.ArcLength
        Case "KxDbCircle":  Detail = "radius " & item.Radius & ", area " & item.Area
        Case "KxDbPolyline": Detail = "length " & item.Length & ", area " & item.Area
        Case "KxDbEllipse": Detail = "ratio " & item.RadiusRatio
        Case "KxDbPoint":   Detail = "at " & Join(Coordinates(item.Coordinates), ", ")
        Case "KxDbText":    Detail = "text " & item.TextString
        Case "KxDbMText":   Detail = "contents " & item.TextString
        Case "KxDbBlockReference": Detail = "block " & item.Name
        Case "KxDbHatch":   Detail = "pattern " & item.PatternName & ", " & item.NumberOfLoops & " loops, area " & item.Area
        Case Else:          Detail = ""
    End Select
End Function

Function Coordinates(values)
    Dim texts(), i
    ReDim texts(UBound(values))
    For i = 0 To UBound(values)
        texts(i) = CStr(values(i))
    Next
    Coordinates = texts
End Function

Dim item, attribute
For Each item In doc.ModelSpace
    WScript.Echo "  " & item.ObjectName & "  handle " & item.Handle & "  layer " & item.Layer & "  " & Detail(item)
    ' An attributed block (the title block) shows its values.
    If item.ObjectName = "KxDbBlockReference" Then
        If item.HasAttributes Then
            For Each attribute In item.GetAttributes
                WScript.Echo "    " & attribute.TagString & " = " & attribute.TextString
            Next
        End If
    End If
Next
