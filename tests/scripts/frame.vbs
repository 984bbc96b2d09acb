' A script client of the server: creates classes by ProgID and calls them late-bound.

' VBScript reports E_NOTIMPL as its error 445 and an unknown name as 438.
Const NOT_SUPPORTED = 445
Const NO_SUCH_MEMBER = 438

Dim doc : Set doc = CreateObject("NkAuto.Document")
Check TypeName(doc) = "IKxDbDocument", "document type is " & TypeName(doc)

Dim line : Set line = CreateObject("NkAuto.Line")
Check TypeName(line) = "IVeltLine", "line type is " & TypeName(line)

' Members that are not written yet answer E_NOTIMPL, reached by name like any other.
On Error Resume Next
Dim style : Set style = CreateObject("NkAuto.MLeaderStyle")
Dim p : p = style.Description
Check Err.Number = NOT_SUPPORTED, "style.Description answered " & Hex(Err.Number)
Err.Clear
line.NoSuchMember = 1
Check Err.Number = NO_SUCH_MEMBER, "an unknown member answered " & Hex(Err.Number)
Err.Clear
Dim nothingHere : Set nothingHere = CreateObject("NkAuto.Arc")
Check Err.Number <> 0, "a class without a ProgID was created"
Err.Clear
On Error GoTo 0

Dim color : Set color = CreateObject("NkAuto.VxCmColor")
Check TypeName(color) = "IVeltVxCmColor", "colour type is " & TypeName(color)

Report
